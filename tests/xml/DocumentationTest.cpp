// The examples of docs/xml.md are what the library does.
#include "XmlTest.h"

#include <fstream>
#include <vector>

namespace {

class XmlDocumentationTest : public XmlTest {
protected:
    // The page's lines.
    void SetUp() override {
        XmlTest::SetUp();
        std::ifstream file(std::string(MVLIB_DOCS) + "/xml.md", std::ios::binary);
        ASSERT_TRUE(file.is_open());
        for (std::string line; std::getline(file, line);) {
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            m_lines.push_back(line);
        }
    }

    static std::wstring Wide(const std::string& ascii) { return std::wstring(ascii.begin(), ascii.end()); }

    // How a parse ends, in the page's words.
    std::wstring Told() const {
        if (m_results.error == XMLERROR_NONE)
            return L"no error\n";
        return (m_results.error <= 2 ? L"warning " : L"error ") + std::to_wstring(m_results.error) + L" at " +
               std::to_wstring(m_results.line) + L":" + std::to_wstring(m_results.column) + L"\n";
    }

    std::vector<std::string> m_lines;
};

TEST_F(XmlDocumentationTest, EveryExampleIsTrue) {
    std::wstring document;
    std::wstring block;
    std::string kind;
    int examples = 0;
    for (const std::string& line : m_lines) {
        if (line.substr(0, 3) != "```") {
            if (!kind.empty())
                block += Wide(line) + L"\n";
            continue;
        }
        if (kind == "```xml") {
            document = block.substr(0, block.size() - 1);
        } else if (kind == "```text") {
            ++examples;
            XMLNode node = Parse(document);
            std::wstring actual = Told() + (node.isEmpty() ? L"" : Indented(node));
            if (actual.back() != L'\n')
                actual += L'\n';
            EXPECT_EQ(actual, block);
        }
        kind = kind.empty() ? line : "";
        block.clear();
    }
    EXPECT_EQ(examples, 13);
}

// Rows like "| 4 missing start tag name | `<a><></a>` | 1:6 |".
TEST_F(XmlDocumentationTest, EveryErrorOfTheTableIsTrue) {
    int rows = 0;
    for (const std::string& line : m_lines) {
        std::size_t code = line.find(" | `<a");
        if (code == std::string::npos || line.compare(0, 2, "| ") != 0)
            continue;
        ++rows;
        std::size_t start = code + 4;
        std::size_t end = line.find("` | ", start);
        ASSERT_NE(end, std::string::npos) << line;
        int error = std::stoi(line.substr(2));
        XMLNode node = Parse(Wide(line.substr(start, end - start)));
        EXPECT_TRUE(node.isEmpty()) << line;
        EXPECT_EQ(m_results.error, error) << line;
        std::string place = std::to_string(m_results.line) + ":" + std::to_string(m_results.column);
        EXPECT_EQ(line.substr(end + 4, line.rfind(" |") - end - 4), place) << line;
        // The text of the error stands behind its number.
        std::wstring text = XMLNode::getError(m_results.error);
        std::wstring told =
            L"Error: " + Wide(line.substr(line.find(' ', 2) + 1, code - line.find(' ', 2) - 1));
        told[7] = static_cast<wchar_t>(told[7] - (L'a' - L'A'));
        EXPECT_EQ(told, text);
    }
    EXPECT_EQ(rows, 6);
}

} // namespace
