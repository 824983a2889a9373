// XML documents: a forgiving parser, a tree that can be read and changed, and a writer.
//
// An XMLNode is a handle: one pointer to a node record that all copies of the handle share, or null (the
// "empty node"). The record lives as long as a handle or its parent's child array refers to it. A node holds
// a name, attributes, and its elements in document order: child nodes, texts and clear sections (CDATA,
// comments, DOCTYPE: text that is kept as it stands). Every operation is safe on the empty node: it answers
// null, 0, an empty handle or an empty record and does nothing.
//
//     XMLResults results;
//     XMLNode root = XMLNode::parseFile(L"settings.xml", L"settings", &results);
//     if (results.error)                                   // 1 and 2 are warnings: the tree is there
//         Report(XMLNode::getError(results.error), results.line, results.column);
//     int width = xmltoi(root.getChildNode(L"window").getAttribute(L"width"), 640);
//     root.addChild(L"visited").addText(L"yes");
//     root.writeToFile(L"settings.xml");
//
// Texts are wide strings that end with a NUL. Lookups by name ignore the case of the letters A to Z. White
// space is line feed, space, tab and carriage return, nothing else.
//
// Ownership. Strings and records that accessors answer belong to the tree: they stay valid until that item is
// changed or deleted, or the last handle on its node goes. What createXMLString and stringDup answer belongs
// to the caller, who frees it with freeXMLString. The memory of one parse goes as a whole, when the last
// handle on any node of it goes: who keeps one small node of a large document for long should keep its
// deepCopy instead. Of what large documents and large rendered texts leave, the process keeps up to 64 MiB
// (16 MiB in 32-bit programs) for the next ones.
//
// Threads. A tree, with all handles on any of its nodes, belongs to one thread at a time (reference counts
// are plain integers). The global options are unguarded and meant to be set at start-up.
//
// Nothing here throws. Memory that runs out shows as "nothing added" in building, as error 3 in parsing and
// as a null result in rendering.
#pragma once

#include "mvlib_export.h"

// What parsing, writing and Base64 decoding report. XMLNode::getError gives the English text of each.
enum XMLError : int {
    XMLERROR_NONE = 0,
    XMLWARNING_UNMATCHED_END_TAG = 1,  // a tag was left open, or closed by the end tag of an ancestor
    XMLWARNING_NO_TAG_FOUND = 2,       // no element in the text
    XMLERROR_NO_DATA = 3,              // empty file; memory exhausted in a parse
    XMLERROR_MISSING_TAG_NAME = 4,     // "<" without a name
    XMLERROR_MISSING_END_TAG_NAME = 5, // "</" without a name, or not closed by ">"
    XMLERROR_UNMATCHED_END_TAG = 6,    // an end tag that names no open element
    XMLERROR_UNMATCHED_CLEAR_TAG = 7,  // a clear section without its closer
    XMLERROR_UNEXPECTED_TOKEN = 8,     // something inside a tag that cannot stand there
    XMLERROR_NO_ELEMENTS = 9,          // the text given is null
    XMLERROR_FILE_NOT_FOUND = 10,      // the file cannot be opened for reading
    XMLERROR_FIRST_TAG_NOT_FOUND = 11, // the element asked for is not there
    XMLERROR_UNKNOWN_ENTITY = 12,      // "&" that begins none of the five entities or a numeric reference
    XMLERROR_CHARACTER_ABOVE_255 = 13, // not used by this library; kept so that the numbers stay
    XMLERROR_CONVERSION = 14,          // the file's bytes cannot be converted to wide text
    XMLERROR_CANNOT_OPEN_FOR_WRITE = 15,
    XMLERROR_CANNOT_WRITE = 16,
    XMLWARNING_BASE64_LENGTH = 17,    // the number of Base64 characters is no multiple of 4
    XMLERROR_BASE64_ILLEGAL = 18,     // a character outside the Base64 alphabet
    XMLWARNING_BASE64_TRUNCATED = 19, // the Base64 text ends inside a group
    XMLERROR_BASE64_BUFFER = 20       // the output buffer is too small
};

// The kinds of a node's contents. Children, texts and clear sections are its elements; attributes are not.
enum XMLElementType : int {
    XMLELEMENT_CHILD = 0,
    XMLELEMENT_ATTRIBUTE = 1,
    XMLELEMENT_TEXT = 2,
    XMLELEMENT_CLEAR = 3,
    XMLELEMENT_NONE = 4
};

// How a parse ended. Line and column start at 1 and say where it stopped: for warning 1 the place where the
// end tag was missed, otherwise the unit after the last one read. They are 0 when there is no error and for
// the errors that have no place (3, 9, 10, 11, 14). Columns count UTF-16 units on every
// system.
struct XMLResults {
    XMLError error;
    int line;
    int column;
};

// An attribute. The value is null where the attribute was written without "=".
struct XMLAttribute {
    const wchar_t* name;
    const wchar_t* value;
};

// A clear section: the text between an opener and a closer, without entities. Opener and closer are never
// owned by the tree: whoever passes some passes strings that outlive it, literals for instance.
struct XMLClear {
    const wchar_t* value;
    const wchar_t* opener;
    const wchar_t* closer;
};

struct XMLNodeContents;
struct XMLNodeDataTag;

// The counters at the head of every node record, here only so that copying a handle needs no call.
struct XMLNodeCounters {
    int references; // handles and child arrays that refer to the record
    int state;      // private to the component
    int* outside;   // counts those of them that lie outside the record's own parse
};

class MVLIB_API XMLNode {
public:
    // How 8-bit files are converted. UTF-8 is the default.
    enum XMLCharEncoding : int {
        encoding_keep = 0, // setGlobalOptions leaves the encoding as it is
        encoding_UTF8 = 1, // UTF-8; malformed bytes become U+FFFD
        encoding_ANSI = 2  // the system's ANSI code page; so does every other value
    };

    // The null handle and the all-null records.
    static XMLNode emptyXMLNode;
    static XMLAttribute emptyXMLAttribute;
    static XMLClear emptyXMLClear;

    // ---- Handles ----

    // The empty node.
    constexpr XMLNode() noexcept = default;
    // Another handle on the same record.
    XMLNode(const XMLNode& other) noexcept
        : d(other.d) {
        retain();
    }
    XMLNode(XMLNode&& other) noexcept
        : d(other.d) {
        other.d = nullptr;
    }
    // The record that this handle leaves is destroyed when nothing else refers to it; then its children lose
    // their parent, and those which a caller still holds live on as trees of their own.
    XMLNode& operator=(const XMLNode& other) noexcept {
        XMLNode(other).swap(*this);
        return *this;
    }
    XMLNode& operator=(XMLNode&& other) noexcept {
        XMLNode(static_cast<XMLNode&&>(other)).swap(*this);
        return *this;
    }
    ~XMLNode() { release(); }

    static XMLNode emptyNode() { return XMLNode(); }
    // 1 for the empty node, else 0.
    char isEmpty() const { return d == nullptr; }

    // ---- Parsing ----

    // Parses a text that ends with a NUL. What comes back is the text's only element, or, where there is more
    // than that beside each other, a nameless top node that holds it all ("<?xml ...?>" is an element that
    // holds what follows it). `tag`, if neither null nor empty, names the element wanted: the one found, one
    // of its children, or one inside leading declarations; else error 11. `results` may be null. Errors 0, 1
    // and 2 come with a tree, every other with the empty node: 3 memory exhausted, 4 to 8, 9 null text,
    // 11, 12. Time and memory are proportional to the text, however it nests.
    static XMLNode parseString(const wchar_t* text, const wchar_t* tag = nullptr,
                               XMLResults* results = nullptr);
    // Parses a whole file: UTF-16 (little-endian, with a mark or recognised without one) or 8-bit text in the
    // encoding set by setGlobalOptions, UTF-8 with or without its mark to begin with. Text after a NUL is not
    // read. Beside parseString's errors: 10 not opened (a folder and a null name too), 3 empty, 14 without a
    // character to convert or larger than 2 GiB.
    static XMLNode parseFile(const wchar_t* fileName, const wchar_t* tag = nullptr,
                             XMLResults* results = nullptr);
    // parseFile for a file that the program cannot run without: on any error or warning it shows a message
    // box with file, error and place, and ENDS THE PROCESS with exit code 255.
    static XMLNode openFileHelper(const wchar_t* fileName, const wchar_t* tag = nullptr);

    // Sets the process-wide options and answers 0.
    // - encoding: how 8-bit files are read; encoding_keep leaves it.
    // - guessWideChars: files are tested for UTF-16 first; when 0 every file is taken as UTF-16 as it stands.
    // - dropWhiteSpace: texts lose white space at both ends, and all-white ones are dropped. When 0 nothing
    //   is trimmed, and rendering is always compact.
    // - removeCommentsInMiddleOfText: a comment between two texts goes, and the texts become one.
    static char setGlobalOptions(XMLCharEncoding encoding = encoding_UTF8, char guessWideChars = 1,
                                 char dropWhiteSpace = 1, char removeCommentsInMiddleOfText = 1);
    // Always encoding_keep ("cannot tell"), whatever is given, null included; kept for callers that pass the
    // answer to setGlobalOptions.
    static XMLCharEncoding guessCharEncoding(void* buffer, int length, char flag = 1);
    // The English text of an error; "Unknown" for a number that is none. Static, never null.
    static const wchar_t* getError(XMLError error);

    // ---- Reading ----

    // The element's name; null for a nameless top node.
    const wchar_t* getName() const;
    // 1 when the node is a declaration, "<?...?>".
    char isDeclaration() const;
    // The empty node at the top of a tree.
    XMLNode getParentNode() const;

    int nChildNode() const;
    // The number of children of that name; 0 for null.
    int nChildNode(const wchar_t* name) const;
    int nText() const;
    int nClear() const;
    int nAttribute() const;
    // Children, texts and clear sections together.
    int nElement() const;

    // By index from 0. Out of range: the empty node, null, emptyXMLClear, emptyXMLAttribute.
    XMLNode getChildNode(int i = 0) const;
    const wchar_t* getText(int i = 0) const;
    XMLClear getClear(int i = 0) const;
    XMLAttribute getAttribute(int i = 0) const;
    const wchar_t* getAttributeName(int i = 0) const;
    const wchar_t* getAttributeValue(int i = 0) const;

    // The i-th child of that name, counted from 0 among those of the name. The empty node when there is none.
    XMLNode getChildNode(const wchar_t* name, int i) const;
    // The first child of that name at or after *i, which becomes its index + 1, so that calls in a row walk
    // them all. *i stays when none is found. A null `i` searches from the first child.
    XMLNode getChildNode(const wchar_t* name, int* i = nullptr) const;
    // Likewise, but the child must also have that attribute with that value (compared like names); a null
    // value asks only for the attribute.
    XMLNode getChildNodeWithAttribute(const wchar_t* name, const wchar_t* attributeName,
                                      const wchar_t* attributeValue = nullptr, int* i = nullptr) const;
    // The value of the i-th attribute of that name, or of the first at or after *i (which becomes its index +
    // 1). Null when there is none, and for an attribute without value: isAttributeSet tells these apart.
    const wchar_t* getAttribute(const wchar_t* name, int i) const;
    const wchar_t* getAttribute(const wchar_t* name, int* i = nullptr) const;
    // 1 when the node has an attribute of that name.
    char isAttributeSet(const wchar_t* name) const;

    // Everything in a node by one index: first the attributes, then the elements in document order. The type
    // is XMLELEMENT_NONE for an index out of range and for the empty node; fields of other kinds are empty.
    XMLNodeContents enumContents(int i) const;
    // Where in the document order the i-th child, text or clear section stands; -1 when there is none.
    int positionOfChildNode(int i = 0) const;
    int positionOfText(int i = 0) const;
    int positionOfClear(int i = 0) const;

    // ---- Building ----
    //
    // Strings are copied, except by the forms that end in _WOSD ("without string duplication"): these take
    // over strings that the caller got from stringDup (or malloc), on every outcome: what is not put into the
    // tree is freed.
    //
    // `pos` is the place in the document order; -1 and everything outside the elements present appends. At a
    // place inside, the new item goes before the next item of its own kind there, looking no further than the
    // last element but one (or the last, when `pos` is its place); without such an item it is appended.

    // A node without parent; a null name makes a nameless one, which renders as its contents.
    static XMLNode createXMLTopNode(const wchar_t* name, char isDeclaration = 0);
    static XMLNode createXMLTopNode_WOSD(wchar_t* name, char isDeclaration = 0);

    // Adds and answers a new child. A null name adds nothing and answers the empty node.
    XMLNode addChild(const wchar_t* name, char isDeclaration = 0, int pos = -1);
    XMLNode addChild_WOSD(wchar_t* name, char isDeclaration = 0, int pos = -1);
    // Moves a tree here, away from the parent it may have, and answers it. Within the same parent `pos`
    // counts in the order that is left when the child is out, and is lowered by one when it lies at or past
    // the end of that. Nothing happens, and the empty node comes back, when either is empty and when this
    // node is the child or lies below it.
    XMLNode addChild(XMLNode child, int pos = -1);
    // Appends an attribute (a second one of the same name too). The value may be null. A null name adds
    // nothing and answers null. The record answered stays where it is until attributes are added or deleted.
    XMLAttribute* addAttribute(const wchar_t* name, const wchar_t* value = nullptr);
    XMLAttribute* addAttribute_WOSD(wchar_t* name, wchar_t* value = nullptr);
    // Null text: nothing, null. An empty text is added here (it renders as nothing).
    const wchar_t* addText(const wchar_t* text, int pos = -1);
    const wchar_t* addText_WOSD(wchar_t* text, int pos = -1);
    // Null value: nothing, null. A null opener means "<![CDATA[", a null closer "]]>".
    XMLClear* addClear(const wchar_t* value, const wchar_t* opener = nullptr, const wchar_t* closer = nullptr,
                       int pos = -1);
    XMLClear* addClear_WOSD(wchar_t* value, const wchar_t* opener = nullptr, const wchar_t* closer = nullptr,
                            int pos = -1);

    // ---- Updating: in place when the item is found, else it is added at the end ----

    // Answers the new name. Null makes the node nameless.
    const wchar_t* updateName(const wchar_t* name);
    const wchar_t* updateName_WOSD(wchar_t* name);
    // Gives the attribute found (by the old record's name, by old name, by index) the new value, null
    // included, and the new name unless that is null. Not found: added when there is a new name, else null.
    // The _WOSD form with records takes over the strings of the new one.
    XMLAttribute* updateAttribute(XMLAttribute* newAttribute, XMLAttribute* oldAttribute);
    XMLAttribute* updateAttribute(const wchar_t* value, const wchar_t* name, const wchar_t* oldName);
    XMLAttribute* updateAttribute(const wchar_t* value, const wchar_t* name = nullptr, int i = 0);
    XMLAttribute* updateAttribute_WOSD(XMLAttribute* newAttribute, XMLAttribute* oldAttribute);
    XMLAttribute* updateAttribute_WOSD(wchar_t* value, wchar_t* name, const wchar_t* oldName);
    XMLAttribute* updateAttribute_WOSD(wchar_t* value, wchar_t* name = nullptr, int i = 0);
    // The old text is found by its address, as getText answered it; null means text 0. A null new text does
    // nothing and answers null.
    const wchar_t* updateText(const wchar_t* newText, const wchar_t* oldText);
    const wchar_t* updateText(const wchar_t* newText, int i = 0);
    const wchar_t* updateText_WOSD(wchar_t* newText, const wchar_t* oldText);
    const wchar_t* updateText_WOSD(wchar_t* newText, int i = 0);
    // The same for the value of a clear section, whose opener and closer stay. Of records only the values
    // count; a section that is not found is added with the new record's opener and closer.
    XMLClear* updateClear(const wchar_t* newValue, const wchar_t* oldValue);
    XMLClear* updateClear(const wchar_t* newValue, int i = 0);
    XMLClear* updateClear(XMLClear* newClear, XMLClear* oldClear);
    XMLClear* updateClear_WOSD(wchar_t* newValue, const wchar_t* oldValue);
    XMLClear* updateClear_WOSD(wchar_t* newValue, int i = 0);
    XMLClear* updateClear_WOSD(XMLClear* newClear, XMLClear* oldClear);

    // ---- Deleting; what is not there is left alone ----

    // Takes the node out of its parent and empties it, whatever other handles there are: they see an empty,
    // nameless record. This handle becomes the empty node. Children that a caller holds live on, detached.
    void deleteNodeContent();
    void deleteAttribute(int i = 0);
    void deleteAttribute(const wchar_t* name);
    void deleteAttribute(XMLAttribute* attribute); // by its name
    void deleteText(int i = 0);
    void deleteText(const wchar_t* text); // by address
    void deleteClear(int i = 0);
    void deleteClear(const wchar_t* value); // by address
    void deleteClear(XMLClear* clear);      // by the address of its value

    // ---- Copying and output ----

    // A tree of its own, without parent, that shares nothing but openers and closers. The empty node for the
    // empty node and when memory is exhausted.
    XMLNode deepCopy() const;
    // The node as XML text, to be freed with freeXMLString. Any nFormat but 0 indents with one tab a level,
    // if white space is dropped in parsing (else indentation would come back as texts); 0 is compact. `size`,
    // if not null, receives the length in wchar_t without the NUL. Null and size 0 for the empty node, when
    // memory is exhausted and when the text would be longer than an int can tell.
    wchar_t* createXMLString(int nFormat = 1, int* size = nullptr) const;
    // Writes the file anew as UTF-16 little-endian with its mark, and with an XML declaration unless the node
    // is itself a declaration, or a nameless top node whose first child is one. `encoding` is ignored. 0
    // (also for the empty node, which writes nothing); 15 when the file cannot be opened for writing (null
    // too); 16 when it cannot be written or memory is exhausted. All is rendered before the file is opened:
    // 15 and exhausted memory leave an old file whole. A write that fails leaves a file that is cut short:
    // where the old one must survive a full disk, write another beside it and rename that.
    XMLError writeToFile(const wchar_t* fileName, const char* encoding = nullptr, char nFormat = 1) const;

private:
    friend struct XMLNodeAccess;
    // Takes over one reference.
    explicit constexpr XMLNode(XMLNodeDataTag* record) noexcept
        : d(record) {}
    void swap(XMLNode& other) noexcept {
        XMLNodeDataTag* record = d;
        d = other.d;
        other.d = record;
    }
    void retain() const noexcept {
        if (d) {
            XMLNodeCounters* counters = reinterpret_cast<XMLNodeCounters*>(d);
            ++counters->references;
            ++*counters->outside;
        }
    }
    void release() noexcept {
        if (d) {
            XMLNodeCounters* counters = reinterpret_cast<XMLNodeCounters*>(d);
            --*counters->outside;
            if (--counters->references == 0)
                destroy(d);
        }
    }
    static void destroy(XMLNodeDataTag* record) noexcept;

    XMLNodeDataTag* d = nullptr;
};

// One item of a node, from XMLNode::enumContents. `type` says which of the other fields is filled.
struct XMLNodeContents {
    XMLElementType type;
    XMLNode child;
    XMLAttribute attribute;
    const wchar_t* text;
    XMLClear clear;
};

// A copy, allocated with malloc, of the first `length` units of a text, or of the whole text when `length` is
// not positive. Null for null and when memory is exhausted. Free it with freeXMLString or give it to a _WOSD
// operation.
MVLIB_API wchar_t* stringDup(const wchar_t* text, int length = 0);
// Frees what stringDup and createXMLString answered (with free); ignores null.
MVLIB_API void freeXMLString(wchar_t* text);

// Values of attributes and texts with a default, for instance
// xmltoi(node.getAttribute(L"width"), 640).
// The text itself, or the default for null.
MVLIB_API const wchar_t* xmltoa(const wchar_t* text, const wchar_t* defaultValue = nullptr);
// The decimal integer at the text's start, after blanks and a sign: 0 without digits, the nearest value that
// fits when it is too large. The default for a null or empty text.
MVLIB_API int xmltoi(const wchar_t* text, int defaultValue = 0);
MVLIB_API long xmltol(const wchar_t* text, long defaultValue = 0);
// ALWAYS the default, whatever the text: applications rely on that. To read a number, parse the text
// yourself.
MVLIB_API double xmltof(const wchar_t* text, double defaultValue = 0.0);

// Replaces the five characters & < > " ' by their entities, into a buffer that the tool keeps. A result stays
// valid until the next call, freeBuffer or the tool's end. Not copyable; one thread at a time may use it.
class MVLIB_API ToXMLStringTool {
public:
    ToXMLStringTool() = default;
    ~ToXMLStringTool();
    ToXMLStringTool(const ToXMLStringTool&) = delete;
    ToXMLStringTool& operator=(const ToXMLStringTool&) = delete;

    void freeBuffer();
    // The escaped text; a null text counts as empty. Null when memory is exhausted.
    wchar_t* toXML(const wchar_t* text);
    // Escapes into a buffer of at least lengthXMLString + 1 characters and answers it.
    static wchar_t* toXMLUnSafe(wchar_t* destination, const wchar_t* text);
    // The length of the escaped text, without the NUL; 0 for null.
    static int lengthXMLString(const wchar_t* text);

private:
    wchar_t* m_buffer = nullptr;
    int m_capacity = 0; // characters
};

// Base64 both ways. The member functions keep their result in a buffer of the tool, valid until the next
// call, freeBuffer or the tool's end. Not copyable; one thread at a time may use it. `error` may be null
// everywhere; it receives 0 when all is well. A null text counts as empty, null bytes as none when their
// number is 0.
class MVLIB_API XMLParserBase64Tool {
public:
    XMLParserBase64Tool() = default;
    ~XMLParserBase64Tool();
    XMLParserBase64Tool(const XMLParserBase64Tool&) = delete;
    XMLParserBase64Tool& operator=(const XMLParserBase64Tool&) = delete;

    void freeBuffer();

    // The characters that encoding `inByteLength` bytes needs at most, the NUL included.
    static int encodeLength(int inByteLength, char formatted = 0);
    // The Base64 text of the bytes. Formatted: a line feed follows every 54 bytes (72 characters). Null when
    // it would not fit an int or memory is exhausted.
    wchar_t* encode(unsigned char* data, unsigned int length, char formatted = 0);

    // The number of bytes that the text decodes to. White space does not count. Error 18, with size 0, for an
    // illegal character; warning 17 when the characters are no multiple of four. Only "=" that stand right
    // before the NUL are taken as padding.
    static unsigned int decodeSize(const wchar_t* data, XMLError* error = nullptr);
    // Decodes into `out`, of `outLength` bytes. 2 for success; 1 with warning 19 when the text ends or is
    // padded inside a group (the bytes before are written); 0 with error 18 for an illegal character or 20
    // when `out` is full and the text goes on.
    static unsigned char decode(const wchar_t* data, unsigned char* out, int outLength,
                                XMLError* error = nullptr);
    // Decodes into the tool's buffer. *outLength (null allowed) receives decodeSize. Null for size 0, on an
    // error and when memory is exhausted.
    unsigned char* decode(const wchar_t* data, int* outLength, XMLError* error = nullptr);

private:
    bool reserve(unsigned long long bytes);

    void* m_buffer = nullptr;
    int m_capacity = 0; // bytes
};
