// The XML form of option blocks.
#include "BlockSupport.h"
#include "layout.h"
#include "temp_folder.h"

#include "XMLNode.h"

#include "win32.h"

namespace {

class OptionsXmlTest : public testing::Test {
protected:
    // The file's text, from UTF-16 with its mark to characters; those outside ASCII become "?".
    std::string Write() {
        EXPECT_EQ(m_block.ToFitxerXML(m_path.c_str()), 0);
        const std::string bytes = m_folder.Read(L"options.xml");
        EXPECT_EQ(bytes.substr(0, 2), "\xFF\xFE");
        std::string text;
        for (std::size_t i = 2; i + 1 < bytes.size(); i += 2)
            text.push_back(bytes[i + 1] == 0 ? bytes[i] : '?');
        return text;
    }
    // What stands inside the root.
    std::string Entries() {
        const std::string text = Write();
        const std::string start = "<?xml version=\"1.0\" encoding=\"utf-16\"?>\n<DriverOptions Version=\"";
        EXPECT_EQ(text.substr(0, start.size()), start);
        const std::size_t begin = text.find(">\n", start.size());
        const std::size_t end = text.rfind("</DriverOptions>");
        if (begin == std::string::npos || end == std::string::npos || begin + 2 > end)
            return "(" + text.substr(start.size()) + ")";
        return text.substr(begin + 2, end - begin - 2);
    }

    TempFolder m_folder;
    std::wstring m_path = m_folder.Path(L"options.xml");
    TBlocOpcions m_block;
};

} // namespace

TEST_F(OptionsXmlTest, ExampleUsage) {
    m_block.EntraValorInt32(L"n", -5);
    m_block.EntraValorString(L"s", L"text");
    EXPECT_EQ(Entries(), "\t<n Type=\"int\">-5</n>\n"
                         "\t<s Type=\"string\">text</s>\n");
}

TEST_F(OptionsXmlTest, EmptyBlockIsARootWithTheProgramsVersion) {
    const std::string text = Write();
    // Programs have a version resource on Windows alone.
    EXPECT_EQ(text.substr(text.find("<DriverOptions")),
              WINDOWS_LAYOUT ? "<DriverOptions Version=\"" MVLIB_VERSION "\"/>\n"
                             : "<DriverOptions Version=\"\"/>\n");
}

TEST_F(OptionsXmlTest, EveryKindHasItsElement) {
    TBlocOpcions inner;
    inner.EntraValorInt32(L"k", 7);
    m_block.EntraValorInt32(L"n", INT_MIN);
    m_block.EntraValorReal64(L"x", 0.1);
    m_block.EntraValorString(L"user", L"a<b>&\"c'");
    m_block.EntraValorBinari(L"raw", "\x01\xAB\x00", 3);
    m_block.EntraSubBloc(L"in", &inner);
    EXPECT_EQ(Entries(), "\t<raw Type=\"binary\" Encoding=\"hex\" ByteSize=\"3\">1AB0</raw>\n"
                         "\t<x Type=\"double\">0.1</x>\n"
                         "\t<in Type=\"SubBloc\">\n"
                         "\t\t<k Type=\"int\">7</k>\n"
                         "\t</in>\n"
                         "\t<n Type=\"int\">-2147483648</n>\n"
                         "\t<user Type=\"string\">a&lt;b&gt;&amp;&quot;c&apos;</user>\n");
}

TEST_F(OptionsXmlTest, RealNumbersHaveTenDigits) {
    const std::pair<double, const char*> cases[] = {{1.0 / 3, "0.3333333333"},
                                                    {1e100, "1e+100"},
                                                    {123456789012.0, "1.23456789e+11"},
                                                    {-0.0, "-0"},
                                                    {1e-5, "1e-05"},
                                                    {2.5, "2.5"},
                                                    {1234567890, "1234567890"},
                                                    {0.00012345, "0.00012345"}};
    for (const auto& [value, text] : cases) {
        m_block.EntraValorReal64(L"x", value);
        EXPECT_EQ(Entries(), std::string("\t<x Type=\"double\">") + text + "</x>\n");
    }
}

TEST_F(OptionsXmlTest, BytesBelow16HaveOneDigit) {
    m_block.EntraValorBinari(L"b", "\x00\x0F\x10\xFF", 4);
    EXPECT_EQ(Entries(), "\t<b Type=\"binary\" Encoding=\"hex\" ByteSize=\"4\">0F10FF</b>\n");
}

TEST_F(OptionsXmlTest, EmptyValuesHaveEmptyElements) {
    m_block.EntraValorBinari(L"b", nullptr, 0);
    EXPECT_EQ(Entries(), "\t<b Type=\"binary\" Encoding=\"hex\" ByteSize=\"0\"></b>\n");
    m_block.Reset();
    m_block.EntraValorString(L"s", L"");
    EXPECT_EQ(Entries(), "\t<s Type=\"string\"></s>\n");
    m_block.Reset();
    TBlocOpcions inner;
    m_block.EntraSubBloc(L"o", &inner);
    EXPECT_EQ(Entries(), "\t<o Type=\"SubBloc\"/>\n");
}

TEST_F(OptionsXmlTest, ValuesOfNoKindHaveNoElement) {
    m_block.Afegir(L"x", ITEMBLOCOPCIONS());
    m_block.Afegir(L"y", ITEMBLOCOPCIONS(nullptr, 0, 2));
    m_block.EntraValorInt32(L"n", 1);
    EXPECT_EQ(Entries(), "\t<n Type=\"int\">1</n>\n");
}

TEST_F(OptionsXmlTest, NamesBecomeTagsAsTheyAre) {
    m_block.EntraValorInt32(L"two words <&>", 1);
    EXPECT_EQ(Entries(), "\t<two words <&> Type=\"int\">1</two words <&>>\n");
}

TEST_F(OptionsXmlTest, ElementsComeInTheOrderOfTheBlock) {
    for (const wchar_t* name : {L"a", L"r", L"f"})
        m_block.EntraValorInt32(name, 1);
    EXPECT_EQ(Entries(), "\t<f Type=\"int\">1</f>\n\t<r Type=\"int\">1</r>\n\t<a Type=\"int\">1</a>\n");
}

TEST_F(OptionsXmlTest, NestedElementsComeInTheOrderOfTheLoadedBlock) {
    TBlocOpcions inner;
    for (const wchar_t* name : {L"a", L"r", L"f"})
        inner.EntraValorInt32(name, 1);
    m_block.EntraSubBloc(L"o", &inner);
    EXPECT_EQ(Entries(), "\t<o Type=\"SubBloc\">\n"
                         "\t\t<f Type=\"int\">1</f>\n\t\t<a Type=\"int\">1</a>\n\t\t<r Type=\"int\">1</r>\n"
                         "\t</o>\n");
}

TEST_F(OptionsXmlTest, NestedDataIsShownAsLoadingItWouldShowIt) {
    const std::string inner = BlockBytes()
                                  .Int("a", 1)
                                  .Narrow("r", "eight")
                                  .Text("a", u"again")
                                  .Int("f", 2)
                                  .Int("f/g", 3)
                                  .Real("e", 0.5)
                                  .Binary("b", "\x01\x02")
                                  .head("cut", KIND_REAL)
                                  .Bytes();
    ITEMBLOCOPCIONS item;
    item.SetDadesBin(const_cast<char*>(inner.data()), static_cast<unsigned long>(inner.size()), 1, 3);
    m_block.Afegir(L"o", item);
    EXPECT_EQ(Entries(), "\t<o Type=\"SubBloc\">\n"
                         "\t\t<f Type=\"SubBloc\"/>\n"
                         "\t\t<r Type=\"string\">eight</r>\n"
                         "\t\t<a Type=\"string\">again</a>\n"
                         "\t\t<b Type=\"binary\" Encoding=\"hex\" ByteSize=\"2\">12</b>\n"
                         "\t\t<e Type=\"double\">0.5</e>\n"
                         "\t</o>\n");
}

TEST_F(OptionsXmlTest, FileThatCannotBeWrittenIsNoFailure) {
    m_block.EntraValorInt32(L"n", 1);
    EXPECT_EQ(m_block.ToFitxerXML(m_folder.Path(L"missing\\options.xml").c_str()), 0);
    EXPECT_FALSE(m_folder.Exists(L"missing"));
}

TEST_F(OptionsXmlTest, VisitorAppendsOneElement) {
    XMLNode node = XMLNode::createXMLTopNode(L"top");
    ITEMBLOCOPCIONS item(5L);
    EXPECT_EQ(TBlocOpcions::_fnAfegirNodesXML(L"n", item, reinterpret_cast<long>(&node)), 0);
    item.SetString(nullptr);
    EXPECT_EQ(TBlocOpcions::_fnAfegirNodesXML(L"s", item, reinterpret_cast<long>(&node)), 0);
    item.Reset();
    EXPECT_EQ(TBlocOpcions::_fnAfegirNodesXML(L"none", item, reinterpret_cast<long>(&node)), 0);
    wchar_t* text = node.createXMLString(0);
    EXPECT_STREQ(text, L"<top><n Type=\"int\">5</n><s Type=\"string\"/></top>");
    freeXMLString(text);
}
