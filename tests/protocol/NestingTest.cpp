// The nesting found before a parse: exact for plain markup, and never below
// what TinyXML reaches where markup could hide a closing tag from the scan.
#include <gtest/gtest.h>
#include <tinyxml.h>

#include <algorithm>
#include <string>

#include "protocol/Elements.h"
#include "protocol/Nesting.h"

namespace kerrow {
namespace {

// The levels of elements below a parsed node, counting the elements that
// hold something (an element closed in its own tag opens no level).
int TreeDepth(const TiXmlNode* node) {
    int deepest = 0;
    for (const TiXmlElement* child = node->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        if (!child->NoChildren()) deepest = std::max(deepest, 1 + TreeDepth(child));
    }
    return deepest;
}

std::string Repeat(const std::string& text, int times) {
    std::string out;
    for (int i = 0; i < times; ++i) out += text;
    return out;
}

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n";

TEST(Nesting, FollowsTheMarkupAsTinyXmlReadsIt) {
    struct Case {
        const char* what;
        std::string text;
        int deepest;
        bool plain;
    };
    const Case cases[] = {
        {"plain tags", "<a><b>1</b><c /><d/></a><e></e >", 2, true},
        {"a reply", kDeclaration + "<Method>1</Method>\n<Action><R><Code>0</Code></R></Action>", 3,
         false},
        {"200 levels", Repeat("<a>", 200) + Repeat("</a>", 200), 200, true},
        {"a closing tag behind a byte of 0xC9", Repeat("<a>\xC9</a>", 5), 5, true},
        {"a closing tag three bytes behind one", "<a>\xE4xx</a><a></a>", 2, true},
        {"a closing tag in a comment", "<a><!--</a>--><b></b></a><c></c>", 2, false},
        {"a closing tag in a section", "<a><![CDATA[</a>]]><b></b></a>", 2, false},
        {"a closing tag in a value", "<a x=\"</a>\" y='>'><b/></a><c></c>", 1, false},
        {"an instruction and an unknown", "<a><?pi x?><!DOCTYPE y><b></b></a><c></c>", 2, false},
        {"a declaration's value hiding closing tags",
         "<a><?xml version=\"></a></a>\" ?><b><c></c></b></a>", 3, false},
        {"a comment that may end elsewhere", "<a><!--\xC9--></a></a><b><c></c></b>", 3, false},
        {"a comment behind a byte of 0xC9", "<a>\xC9<!--</a>--><b></b></a>", 2, false},
        {"a value that may end elsewhere", "<a x=\"\xC9\"></a><b></b>", 2, false},
        {"elements named by bytes of 0x80 up", "<\xC3\xA4><\xC3\xA4/></\xC3\xA4>", 2, false},
    };
    for (const Case& c : cases) {
        const Nesting nesting = ScanNesting(c.text.data(), c.text.size());
        EXPECT_EQ(c.deepest, nesting.deepest) << c.what;
        EXPECT_EQ(c.plain, nesting.plain) << c.what;
        TiXmlDocument document;
        const std::string padded = c.text + std::string(4, '\0');
        document.Parse(padded.c_str());
        EXPECT_GE(nesting.deepest, TreeDepth(&document)) << c.what;
    }
}

TEST(Nesting, ParseDocumentRefusesMoreThan64LevelsAsAnError) {
    struct Case {
        int levels;
        bool parsed;
    };
    for (const Case& c : {Case{64, true}, Case{65, false}, Case{300000, false}}) {
        const std::string text = Repeat("<a>", c.levels) + "1" + Repeat("</a>", c.levels);
        TiXmlDocument document;
        EXPECT_EQ(c.parsed, ParseDocument(text.data(), text.size(), document)) << c.levels;
        EXPECT_EQ(!c.parsed, document.Error()) << c.levels;
        EXPECT_EQ(c.parsed ? c.levels : 0, TreeDepth(&document)) << c.levels;
    }
}

}  // namespace
}  // namespace kerrow
