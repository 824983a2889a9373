// The fixture of the XML tests: parses, renders and compares in one line each.
#pragma once

#include "XMLNode.h"

#include <gtest/gtest.h>

#include <string>

class XmlTest : public testing::Test {
protected:
    void SetUp() override { XMLNode::setGlobalOptions(); }
    void TearDown() override { XMLNode::setGlobalOptions(); }

    // Parses into m_results.
    XMLNode Parse(const std::wstring& text, const wchar_t* tag = nullptr) {
        m_results = {static_cast<XMLError>(-1), -1, -1};
        return XMLNode::parseString(text.c_str(), tag, &m_results);
    }

    // Parses a text that must be without error.
    XMLNode ParseSound(const std::wstring& text) {
        XMLNode node = Parse(text);
        EXPECT_EQ(m_results.error, 0);
        return node;
    }

    static std::wstring Indented(const XMLNode& node) { return Render(node, 1); }
    static std::wstring Compact(const XMLNode& node) { return Render(node, 0); }
    static std::wstring Render(const XMLNode& node, int format) {
        int size = -1;
        wchar_t* text = node.createXMLString(format, &size);
        std::wstring copy = text ? text : L"(null)";
        EXPECT_EQ(size, text ? static_cast<int>(copy.size()) : 0);
        freeXMLString(text);
        return copy;
    }

    // The outcome of a parse as "error line:column".
    std::string Outcome(const std::wstring& text, const wchar_t* tag = nullptr) {
        XMLNode node = Parse(text, tag);
        bool kept = m_results.error >= 0 && m_results.error <= 2;
        EXPECT_EQ(kept, !node.isEmpty()) << "error " << m_results.error;
        return std::to_string(m_results.error) + " " + std::to_string(m_results.line) + ":" +
               std::to_string(m_results.column);
    }

    // The order array as text: c0 t0 x0 for the first child, text and clear section.
    static std::string OrderOf(const XMLNode& node) {
        std::string order;
        int counts[4] = {0, 0, 0, 0};
        for (int i = node.nAttribute(); i < node.nAttribute() + node.nElement(); ++i) {
            XMLNodeContents contents = node.enumContents(i);
            if (!order.empty())
                order += ' ';
            order += "ca tx"[contents.type == XMLELEMENT_CHILD  ? 0
                             : contents.type == XMLELEMENT_TEXT ? 3
                                                                : 4];
            order += std::to_string(counts[contents.type]++);
        }
        return order;
    }

    XMLResults m_results;
};

// Compares texts, null included.
inline std::wstring TextOrNull(const wchar_t* text) {
    return text ? text : L"(null)";
}
#define EXPECT_WSTREQ(actual, expected) EXPECT_EQ(TextOrNull(actual), TextOrNull(expected))
