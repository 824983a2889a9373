// XML documents beside pugixml and rapidxml (which parse in place, into a copy of the text that is made
// outside the measured time), tinyxml2 and libxml2. Ours works on wchar_t, of 4 bytes here; so does rapidxml;
// the others on bytes. A parse counts with freeing the tree.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <pugixml.hpp>
#include <rapidxml/rapidxml.hpp>
#include <tinyxml2.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "sink.h"
#include "XMLNode.h"

namespace {

enum Kind { Options, Text, Small };

// A document of about `size` bytes, ASCII.
std::string Make(Kind kind, size_t size) {
    std::ostringstream text;
    text << "<?xml version=\"1.0\"?>\n<DriverOptions>\n";
    const char* words =
        "Lorem ipsum dolor sit amet, consectetur adipiscing elit, sed do eiusmod tempor incididunt ut "
        "labore et dolore magna aliqua; ut enim ad minim veniam &amp; quis nostrud exercitation. ";
    for (int i = 0; static_cast<size_t>(text.tellp()) < size; ++i) {
        if (kind == Text) {
            text << "\t<chapter id=\"c" << i << "\">\n\t\t<title>Chapter " << i << "</title>\n";
            for (int k = 0; k < 4; ++k)
                text << "\t\t<p>" << words << words << words << i << ' ' << words << words << "</p>\n";
            text << "\t</chapter>\n";
        } else {
            text << "\t<Group" << i % 500 << " kind=\"5\">\n";
            for (int k = 0; k < 20; ++k)
                text << "\t\t<Option" << k << " type=\"" << k % 4 << "\" scope=\"user\">value " << i
                     << "</Option" << k << ">\n";
            text << "\t</Group" << i % 500 << ">\n";
            if (kind == Small)
                break;
        }
    }
    text << "</DriverOptions>\n";
    return text.str();
}

// Made once each.
const std::string& Bytes(Kind kind, int megabytes) {
    static std::string made[3][11];
    std::string& text = made[kind][megabytes];
    if (text.empty())
        text = Make(kind, static_cast<size_t>(megabytes) * 1000000);
    return text;
}

const std::wstring& Units(Kind kind, int megabytes) {
    static std::wstring made[3][11];
    std::wstring& text = made[kind][megabytes];
    if (text.empty())
        text.assign(Bytes(kind, megabytes).begin(), Bytes(kind, megabytes).end());
    return text;
}

void Require(bool sound) {
    if (!sound)
        std::abort();
}

// Contenders that parse. Each gets a text that it may change.
struct Ours {
    using Char = wchar_t;
    static void Parse(wchar_t* text, size_t) {
        XMLNode node = XMLNode::parseString(text);
        Require(!node.isEmpty());
    }
};
struct Pugixml {
    using Char = char;
    static void Parse(char* text, size_t size) {
        pugi::xml_document document;
        Require(document.load_buffer_inplace(text, size));
    }
};
struct Rapidxml {
    using Char = wchar_t;
    static void Parse(wchar_t* text, size_t) {
        auto document = std::make_unique<rapidxml::xml_document<wchar_t>>();
        document->parse<rapidxml::parse_trim_whitespace>(text);
        Require(document->first_node());
    }
};
struct Tinyxml2 {
    using Char = char;
    static void Parse(char* text, size_t size) {
        tinyxml2::XMLDocument document;
        Require(document.Parse(text, size) == tinyxml2::XML_SUCCESS);
    }
};
struct Libxml2 {
    using Char = char;
    static void Parse(char* text, size_t size) {
        xmlDoc* document = xmlReadMemory(text, static_cast<int>(size), nullptr, nullptr,
                                         XML_PARSE_NOBLANKS | XML_PARSE_HUGE);
        Require(document);
        xmlFreeDoc(document);
    }
};

template <class Char>
const std::basic_string<Char>& Source(Kind kind, int megabytes) {
    if constexpr (sizeof(Char) == 1)
        return Bytes(kind, megabytes);
    else
        return Units(kind, megabytes);
}

// The thread's own time, which other programs on the machine disturb least.
double ThreadSeconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

template <class Function>
void Timed(benchmark::State& state, Function function) {
    double start = ThreadSeconds();
    function();
    state.SetIterationTime(ThreadSeconds() - start);
}

template <class Contender>
void Parse(benchmark::State& state, Kind kind, int megabytes) {
    using Char = typename Contender::Char;
    const std::basic_string<Char>& source = Source<Char>(kind, megabytes);
    std::basic_string<Char> copy;
    for (auto _ : state) {
        copy = source;
        Timed(state, [&] { Contender::Parse(copy.data(), copy.size()); });
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * source.size()));
}

// 1,000 documents of about 1,200 characters.
template <class Contender>
void ParseSmall(benchmark::State& state) {
    using Char = typename Contender::Char;
    const std::basic_string<Char>& source = Source<Char>(Small, 1);
    std::vector<std::basic_string<Char>> copies(1000);
    for (auto _ : state) {
        for (auto& copy : copies)
            copy = source;
        Timed(state, [&] {
            for (auto& copy : copies)
                Contender::Parse(copy.data(), copy.size());
        });
    }
}

// ---- Rendering ----

void RenderOurs(benchmark::State& state, Kind kind) {
    XMLNode node = XMLNode::parseString(Units(kind, 10).c_str());
    for (auto _ : state) {
        Timed(state, [&] {
            int size;
            wchar_t* text = node.createXMLString(1, &size);
            Require(size > 1000000);
            freeXMLString(text);
        });
    }
}

struct StringWriter : pugi::xml_writer {
    std::string text;
    void write(const void* data, size_t size) override { text.append(static_cast<const char*>(data), size); }
};

void RenderPugixml(benchmark::State& state, Kind kind) {
    pugi::xml_document document;
    document.load_string(Bytes(kind, 10).c_str());
    for (auto _ : state) {
        Timed(state, [&] {
            StringWriter writer;
            document.save(writer, "\t");
            Require(writer.text.size() > 1000000);
        });
    }
}

void RenderTinyxml2(benchmark::State& state, Kind kind) {
    tinyxml2::XMLDocument document;
    document.Parse(Bytes(kind, 10).c_str());
    for (auto _ : state) {
        Timed(state, [&] {
            tinyxml2::XMLPrinter printer;
            document.Print(&printer);
            Require(printer.CStrSize() > 1000000);
        });
    }
}

void RenderLibxml2(benchmark::State& state, Kind kind) {
    const std::string& text = Bytes(kind, 10);
    xmlDoc* document = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                     XML_PARSE_NOBLANKS | XML_PARSE_HUGE);
    for (auto _ : state) {
        Timed(state, [&] {
            xmlChar* rendered = nullptr;
            int size = 0;
            xmlDocDumpFormatMemory(document, &rendered, &size, 1);
            Require(size > 1000000);
            xmlFree(rendered);
        });
    }
    xmlFreeDoc(document);
}

// ---- Files ----

class Folder {
public:
    Folder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "mvlib62-bench-XXXXXX").string();
        Require(mkdtemp(pattern.data()));
        m_path = pattern;
    }
    ~Folder() { std::filesystem::remove_all(m_path); }
    std::string Name(const char* name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

const std::string& InputFile() {
    static Folder folder;
    static std::string name;
    if (name.empty()) {
        name = folder.Name("in.xml");
        std::ofstream(name, std::ios::binary) << Bytes(Options, 10);
    }
    return name;
}

void LoadOurs(benchmark::State& state) {
    std::wstring name(InputFile().begin(), InputFile().end());
    for (auto _ : state)
        Timed(state, [&] { Require(!XMLNode::parseFile(name.c_str()).isEmpty()); });
}

void LoadPugixml(benchmark::State& state) {
    InputFile();
    for (auto _ : state) {
        Timed(state, [&] {
            pugi::xml_document document;
            Require(document.load_file(InputFile().c_str()));
        });
    }
}

void LoadLibxml2(benchmark::State& state) {
    InputFile();
    for (auto _ : state) {
        Timed(state, [&] {
            xmlDoc* document = xmlReadFile(InputFile().c_str(), nullptr, XML_PARSE_NOBLANKS | XML_PARSE_HUGE);
            Require(document);
            xmlFreeDoc(document);
        });
    }
}

void SaveOurs(benchmark::State& state) {
    Folder folder;
    std::string path = folder.Name("out.xml");
    std::wstring name(path.begin(), path.end());
    XMLNode node = XMLNode::parseString(Units(Options, 10).c_str());
    for (auto _ : state)
        Timed(state, [&] { Require(node.writeToFile(name.c_str()) == XMLERROR_NONE); });
}

void SavePugixml(benchmark::State& state) {
    Folder folder;
    std::string name = folder.Name("out.xml");
    pugi::xml_document document;
    document.load_string(Bytes(Options, 10).c_str());
    for (auto _ : state) {
        Timed(state, [&] {
            Require(document.save_file(name.c_str(), "\t", pugi::format_indent | pugi::format_write_bom,
                                       pugi::encoding_utf16_le));
        });
    }
}

void SaveLibxml2(benchmark::State& state) {
    Folder folder;
    std::string name = folder.Name("out.xml");
    const std::string& text = Bytes(Options, 10);
    xmlDoc* document = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                     XML_PARSE_NOBLANKS | XML_PARSE_HUGE);
    for (auto _ : state)
        Timed(state, [&] { Require(xmlSaveFormatFileEnc(name.c_str(), document, "UTF-16LE", 1) > 0); });
    xmlFreeDoc(document);
}

// ---- Reading a tree ----

size_t WalkNode(const XMLNode& node) {
    size_t count = 1;
    for (int i = 0, n = node.nChildNode(); i < n; ++i)
        count += WalkNode(node.getChildNode(i));
    return count;
}
size_t WalkNode(const pugi::xml_node& node) {
    size_t count = 1;
    for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
        if (child.type() == pugi::node_element)
            count += WalkNode(child);
    }
    return count;
}
size_t WalkNode(const tinyxml2::XMLElement* node) {
    size_t count = 1;
    for (auto* child = node->FirstChildElement(); child; child = child->NextSiblingElement())
        count += WalkNode(child);
    return count;
}

void WalkOurs(benchmark::State& state) {
    XMLNode node = XMLNode::parseString(Units(Options, 10).c_str());
    for (auto _ : state)
        Timed(state, [&] { Require(WalkNode(node) > 1000); });
}
void WalkPugixml(benchmark::State& state) {
    pugi::xml_document document;
    document.load_string(Bytes(Options, 10).c_str());
    for (auto _ : state)
        Timed(state, [&] { Require(WalkNode(document.document_element()) > 1000); });
}
void WalkTinyxml2(benchmark::State& state) {
    tinyxml2::XMLDocument document;
    document.Parse(Bytes(Options, 10).c_str());
    for (auto _ : state)
        Timed(state, [&] { Require(WalkNode(document.RootElement()) > 1000); });
}

// A group among 500 by its name, an option in it by its name.
template <class Find>
void TwoLevelFinds(benchmark::State& state, Find find) {
    for (auto _ : state) {
        Timed(state, [&] {
            for (int i = 0; i < 1000; ++i)
                Require(find(i * 7 % 500, i % 20));
        });
    }
}

struct Names {
    std::vector<std::string> narrow;
    std::vector<std::wstring> wide;
    Names(const char* stem, int count) {
        for (int i = 0; i < count; ++i) {
            narrow.push_back(stem + std::to_string(i));
            wide.emplace_back(narrow.back().begin(), narrow.back().end());
        }
    }
};
const Names Groups("Group", 500);
const Names OptionNames("Option", 20);

void FindOurs(benchmark::State& state) {
    XMLNode root = XMLNode::parseString(Units(Options, 1).c_str(), L"DriverOptions");
    TwoLevelFinds(state, [&](int group, int option) {
        return !root.getChildNode(Groups.wide[static_cast<size_t>(group)].c_str())
                    .getChildNode(OptionNames.wide[static_cast<size_t>(option)].c_str())
                    .isEmpty();
    });
}
void FindPugixml(benchmark::State& state) {
    pugi::xml_document document;
    document.load_string(Bytes(Options, 1).c_str());
    TwoLevelFinds(state, [&](int group, int option) {
        return !document.document_element()
                    .child(Groups.narrow[static_cast<size_t>(group)].c_str())
                    .child(OptionNames.narrow[static_cast<size_t>(option)].c_str())
                    .empty();
    });
}
void FindTinyxml2(benchmark::State& state) {
    tinyxml2::XMLDocument document;
    document.Parse(Bytes(Options, 1).c_str());
    TwoLevelFinds(state, [&](int group, int option) {
        return document.RootElement()
                   ->FirstChildElement(Groups.narrow[static_cast<size_t>(group)].c_str())
                   ->FirstChildElement(OptionNames.narrow[static_cast<size_t>(option)].c_str()) != nullptr;
    });
}

// ---- Growth

// Markup that makes a parser slow which looks for something again and again.
const wchar_t* const Floods[] = {
    L"<a>",           L"<a b='1'/>",     L"<a/>x",     L"x<!--c-->",    L"<!--c--><!--d-->",
    L"&amp;",         L"<a><b></a>",     L"<a>'</a>",  L"<a \">x></a>", L"<![CDATA[]]]]>",
    L"<a x=\">'\"/>", L"<b c d e f g/>", L"<?a b?>\n", L" \t \n \r ",   L"<a>&#65;</a>"};

void Flood(benchmark::State& state, const wchar_t* piece, int count) {
    std::wstring text = L"<r>";
    for (int i = 0; i < count; ++i)
        text += piece;
    for (auto _ : state)
        Timed(state, [&] { XMLNode::parseString(text.c_str()); });
}

void ManyAttributes(benchmark::State& state, int count) {
    std::wstring text = L"<r";
    for (int i = 0; i < count; ++i)
        text += L" a" + std::to_wstring(i) + L"='" + std::to_wstring(i) + L"'";
    text += L"/>";
    for (auto _ : state)
        Timed(state, [&] { Require(XMLNode::parseString(text.c_str()).nAttribute() == count); });
}

template <class Function, class... Arguments>
void Add(const std::string& name, Function function, Arguments... arguments) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) { function(state, arguments...); })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

template <class Contender>
void AddParses(const std::string& contender) {
    for (int megabytes : {1, 10}) {
        std::string size = contender;
        size.append("/").append(std::to_string(megabytes));
        Add("xml/parse-options/" + size, Parse<Contender>, Options, megabytes);
        Add("xml/parse-text/" + size, Parse<Contender>, Text, megabytes);
    }
    Add("xml/parse-small/" + contender, ParseSmall<Contender>);
}

bool AddAll() {
    AddParses<Ours>("ours");
    AddParses<Pugixml>("peer-pugixml");
    AddParses<Rapidxml>("peer-rapidxml");
    AddParses<Tinyxml2>("peer-tinyxml2");
    AddParses<Libxml2>("peer-libxml2");
    for (Kind kind : {Options, Text}) {
        std::string job = kind == Options ? "xml/render-options/" : "xml/render-text/";
        Add(job + "ours", RenderOurs, kind);
        Add(job + "peer-pugixml", RenderPugixml, kind);
        Add(job + "peer-tinyxml2", RenderTinyxml2, kind);
        Add(job + "peer-libxml2", RenderLibxml2, kind);
    }
    Add("xml/load/ours", LoadOurs);
    Add("xml/load/peer-pugixml", LoadPugixml);
    Add("xml/load/peer-libxml2", LoadLibxml2);
    Add("xml/save/ours", SaveOurs);
    Add("xml/save/peer-pugixml", SavePugixml);
    Add("xml/save/peer-libxml2", SaveLibxml2);
    Add("xml/walk/ours", WalkOurs);
    Add("xml/walk/peer-pugixml", WalkPugixml);
    Add("xml/walk/peer-tinyxml2", WalkTinyxml2);
    Add("xml/find/ours", FindOurs);
    Add("xml/find/peer-pugixml", FindPugixml);
    Add("xml/find/peer-tinyxml2", FindTinyxml2);
    for (int count : {20000, 200000}) {
        std::string size = "/ours/" + std::to_string(count);
        int number = 0;
        for (const wchar_t* piece : Floods)
            Add("xml/flood-" + std::to_string(number++) + size, Flood, piece, count);
        Add("xml/attributes" + size, ManyAttributes, count);
    }
    return true;
}

const bool Added = AddAll();

} // namespace
