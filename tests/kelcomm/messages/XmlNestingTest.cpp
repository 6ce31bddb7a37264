#include <gtest/gtest.h>

#include "kelcomm/messages/XmlNesting.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

/// The deepest nesting that the scanner sees in `text`.
int Depth(const std::string& text) {
    int depth = 0;
    while (NestsDeeperThan(text, depth)) {
        ++depth;
    }
    return depth;
}

/// How many elements the scanner sees in `text`, and how many nodes of its tree.
std::pair<std::size_t, std::size_t> Counts(const std::string& text) {
    XmlLimits elements;
    elements.elements = 0;
    while (FindExcess(text, elements) == XmlExcess::kElements) {
        ++elements.elements;
    }
    XmlLimits nodes;
    nodes.nodes = 0;
    while (FindExcess(text, nodes) == XmlExcess::kNodes) {
        ++nodes.nodes;
    }
    return {elements.elements, nodes.nodes};
}

using Pair = std::pair<std::size_t, std::size_t>;

TEST(XmlNestingTest, ElementsAreCountedWhereverTheyStand) {
    EXPECT_EQ(Counts("<a><b></b><b/><c>text</c></a><a></a>"), Pair(5, 5));
    EXPECT_EQ(Counts("<a"), Pair(0, 0));
    EXPECT_EQ(Counts("no element"), Pair(0, 0));
}

TEST(XmlNestingTest, AttributesAreNodesWithOneAroundThem) {
    EXPECT_EQ(Counts("<a x='1'/>"), Pair(1, 3));
    EXPECT_EQ(Counts("<a x='1' y='<b/>' z='2'><b x='1'/></a>"), Pair(2, 8));
}

TEST(XmlNestingTest, CommentsAreNodesAndOtherMarkupIsNone) {
    EXPECT_EQ(Counts("<?xml version='1.0'?><!DOCTYPE a><a><!--c--><![CDATA[<b/>]]><!----></a>"),
              Pair(1, 3));
}

TEST(XmlNestingTest, EndTagsAndMarkupInsideCommentsAreNotCounted) {
    EXPECT_EQ(Counts("<!--<a/><a/>--><b></b>"), Pair(1, 2));
}

TEST(XmlNestingTest, NamesOfEndTagsMayHoldWhatElsewhereBeginsAnElement) {
    EXPECT_EQ(Counts("<a></a<b<c>"), Pair(1, 1));
    EXPECT_EQ(Counts("<a></a <b>"), Pair(1, 1));
    EXPECT_EQ(Counts("<a></a \n><b></b>"), Pair(2, 2));
    EXPECT_EQ(Depth("<a></<a><a></a><a>"), 1);
}

TEST(XmlNestingTest, SiblingsDoNotNest) {
    EXPECT_EQ(Depth("<a><b></b><b/><b x='1' /></a><a></a>"), 2);
}

TEST(XmlNestingTest, UnclosedElementsCount) {
    EXPECT_EQ(Depth("<a><b x=\"1\"><c"), 2);
}

TEST(XmlNestingTest, DeclarationCommentsAndCharacterDataDoNotCount) {
    EXPECT_EQ(
        Depth("<?xml version='1.0'?><!--<a><a>--><![CDATA[<a><a>]]><!DOCTYPE x [<a><a>]><b/>"), 0);
}

// What only looks like an end must not make the scanner count less than the parser nests.

TEST(XmlNestingTest, EndTagsInsideValuesCloseNothing) {
    EXPECT_EQ(Depth("<a x='</a>'><a x=\"</a>\"><a>"), 3);
}

TEST(XmlNestingTest, EmptyTagsInsideValuesCloseNothing) {
    EXPECT_EQ(Depth("<a x='/>'><a x=\"/>\"><a y='\"' x=\"/>\">"), 3);
}

TEST(XmlNestingTest, EndTagsInsideMarkupCloseNothing) {
    EXPECT_EQ(Depth("<a><!--</a>--><?p </a>?><![CDATA[</a>]]><!DOCTYPE d [</a>[</a>]</a>]><a>"), 2);
}

TEST(XmlNestingTest, QuotesInNamesOpenNoValue) {
    EXPECT_EQ(Depth("<a\"><a'><a>"), 3);
}

TEST(XmlNestingTest, QuotesInUnknownMarkupHideNothing) {
    EXPECT_EQ(Depth("<!x \"><a><!x '><a>"), 2);
}

TEST(XmlNestingTest, ScanningEndsWhereTheParserGivesUp) {
    EXPECT_EQ(Depth("<a><b x><c><d>"), 1);
    EXPECT_EQ(Depth("<a><!-- <b>"), 1);
    EXPECT_EQ(Depth(std::string("<a>\0<b>", 7)), 1);
}

TEST(XmlNestingTest, TagThatTheParserRefusesEndsTheScanning) {
    EXPECT_EQ(Depth("<a><b x'1'><c>"), 1);
    EXPECT_EQ(Depth("<a><b x '1'><c>"), 1);
    EXPECT_EQ(Depth("<a><b x=1><c>"), 1);
    EXPECT_EQ(Depth("<a><b x=><c>"), 1);
}

TEST(XmlNestingTest, BlanksAroundTheEqualSignAreTheParsersToo) {
    EXPECT_EQ(Depth("<a x ='1'><b x= '1'><c x \n=\t'1'>"), 3);
}

TEST(XmlNestingTest, InstructionEndsBehindItsQuestionMarkOnly) {
    EXPECT_EQ(Depth("<a><?p ></a>?><a>"), 2);
    EXPECT_EQ(Depth("<?p ><a><a>?><a>"), 1);
}

TEST(XmlNestingTest, DocumentTypeEndsOutsideOfItsBracketsOnly) {
    EXPECT_EQ(Depth("<!DOCTYPE d [[]><a>]><a>"), 1);
    EXPECT_EQ(Depth("<!DOCTYPE d ]><a>"), 1);
    EXPECT_EQ(Depth("<!DOCTYPE <>"), 0);
    EXPECT_EQ(Depth(std::string("<a><!DOCTYPE d\0><b>", 19)), 1);
}

TEST(XmlNestingTest, OnlyABlankMakesItADocumentType) {
    EXPECT_EQ(Depth("<!DOCTYPEd [><a>]><a>"), 2);
}

TEST(XmlNestingTest, ShortestTexts) {
    EXPECT_EQ(Depth(""), 0);
    EXPECT_EQ(Depth("<"), 0);
    EXPECT_EQ(Depth("</"), 0);
    EXPECT_EQ(Depth("<a"), 0);
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
