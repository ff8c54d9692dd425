#include "orvel/markup/tag_scanner.h"

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvel/base/utf8.h"

namespace orvel {
namespace {

using ::testing::ElementsAre;

// Each call as "KIND NAME [PIECE] TEXT".
struct Recorder {
  std::vector<std::string> calls;
  std::size_t stopAfter = 0;  // 0: never stop
};

bool record(std::u16string_view, const unichar* characters, std::size_t nameStart,
            std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
            std::size_t textStart, int kind, void* context) {
  auto* recorder = static_cast<Recorder*>(context);
  const auto text = [&](std::size_t start, std::size_t length) {
    return utf16ToUtf8(std::u16string_view(characters + start, length));
  };
  const std::string name = nameStart == NSNotFound ? "-" : text(nameStart, nameLength);
  const std::string before = tagStart > textStart ? text(textStart, tagStart - textStart) : "";
  recorder->calls.push_back(std::to_string(kind) + " " + name + " [" + text(tagStart, tagLength) +
                            "] " + before);
  return recorder->stopAfter != 0 && recorder->calls.size() == recorder->stopAfter;
}

std::vector<std::string> scan(std::u16string_view text, std::size_t stopAfter = 0) {
  Recorder recorder{{}, stopAfter};
  GetTagsOfString(text, record, &recorder, false);
  return recorder.calls;
}

TEST(TagScannerTest, TagsWithTheTextBeforeThemAndTheFinalCall) {
  EXPECT_THAT(scan(u"a<b>c</b>d"), ElementsAre("1 b [<b>] a", "1 b [</b>] c", "0 - [] d"));
  EXPECT_THAT(scan(u"plain"), ElementsAre("0 - [] plain"));
  EXPECT_THAT(scan(u"<a <b>x"), ElementsAre("1 a [<a <b>] ", "0 - [] x"));  // "<" is content
  EXPECT_THAT(scan(u"</p>< p><?xml v?><!DOCTYPE html><>"),
              ElementsAre("1 p [</p>] ", "1 p [< p>] ", "1 xml [<?xml v?>] ",
                          "1 DOCTYPE [<!DOCTYPE html>] ", "1 - [<>] ", "0 - [] "));
}

TEST(TagScannerTest, QuotesOpenOnlyAfterAnEqualsSign) {
  EXPECT_THAT(scan(u"<a title=\"x>y\" href=z>t"),
              ElementsAre("1 a [<a title=\"x>y\" href=z>] ", "0 - [] t"));
  EXPECT_THAT(scan(u"<a b\"c>d"), ElementsAre("1 a [<a b\"c>] ", "0 - [] d"));
  EXPECT_THAT(scan(u"<a t='it\"s'>d"), ElementsAre("1 a [<a t='it\"s'>] ", "0 - [] d"));
  // An "=" keeps its power over white space and other units until a quote comes.
  EXPECT_THAT(scan(u"<a t= x \"y>z\">w"), ElementsAre("1 a [<a t= x \"y>z\">] ", "0 - [] w"));
  EXPECT_THAT(scan(u"<a t = 'y>z'>w"), ElementsAre("1 a [<a t = 'y>z'>] ", "0 - [] w"));
  // After a value closes, a quote needs a new "=".
  EXPECT_THAT(scan(u"<a t=\"1\" \"x>y\">"), ElementsAre("1 a [<a t=\"1\" \"x>] ", "0 - [] y\">"));
  // A value never closed holds the rest: the tag is unfinished, and belongs to the text.
  EXPECT_THAT(scan(u"x<a t=\"y>z"), ElementsAre("0 - [] x<a t=\"y>z"));
  EXPECT_THAT(scan(u"<a t=\"\">b"), ElementsAre("1 a [<a t=\"\">] ", "0 - [] b"));
}

TEST(TagScannerTest, CommentsAndSectionsEndTheirOwnWay) {
  EXPECT_THAT(scan(u"<!-- x > y -->z"), ElementsAre("2 - [<!-- x > y -->] ", "0 - [] z"));
  EXPECT_THAT(scan(u"<!-x->z"), ElementsAre("2 - [<!-x->] ", "0 - [] z"));
  EXPECT_THAT(scan(u"<!-- a --!>z"), ElementsAre("2 - [<!-- a --!>] ", "0 - [] z"));
  EXPECT_THAT(scan(u"<![CDATA[ a > b ]]>x"), ElementsAre("3 - [<![CDATA[ a > b ]]>] ", "0 - [] x"));
  EXPECT_THAT(scan(u"<![if x]>y<![endif]-->"),
              ElementsAre("3 - [<![if x]>] ", "3 - [<![endif]-->] y", "0 - [] "));
}

TEST(TagScannerTest, WhatTheEndLeavesOpen) {
  EXPECT_THAT(scan(u"x<!-- never"), ElementsAre("2 - [<!-- never] x", "0 - [] "));
  EXPECT_THAT(scan(u"x<![CDATA[ y"), ElementsAre("3 - [<![CDATA[ y] x", "0 - [] "));
  EXPECT_THAT(scan(u"x<a href"), ElementsAre("0 - [] x<a href"));  // an unfinished tag is text
}

TEST(TagScannerTest, ScriptAndStyleBodiesAreOnePiece) {
  EXPECT_THAT(scan(u"<script>if (a<b) x='</p>';</SCRIPT >after"),
              ElementsAre("1 script [<script>if (a<b) x='</p>';</SCRIPT >] ", "0 - [] after"));
  EXPECT_THAT(scan(u"<script><!-- w('</script>') --></script>z"),
              ElementsAre("1 script [<script><!-- w('</script>') --></script>] ", "0 - [] z"));
  EXPECT_THAT(scan(u"<Style>p{}</style>"), ElementsAre("1 Style [<Style>p{}</style>] ", "0 - [] "));
  EXPECT_THAT(scan(u"<script/>x</script>"),  // self-closing: not widened
              ElementsAre("1 script [<script/>] ", "1 script [</script>] x", "0 - [] "));
  EXPECT_THAT(scan(u"<script>no end <b>"),
              ElementsAre("1 script [<script>] ", "1 b [<b>] no end ", "0 - [] "));
  EXPECT_THAT(scan(u"<script>x</script"), ElementsAre("1 script [<script>x</script] ", "0 - [] "));
}

TEST(TagScannerTest, AHandlerStopsTheScanWithoutTheFinalCall) {
  EXPECT_THAT(scan(u"a<b>c<i>d", 1), ElementsAre("1 b [<b>] a"));
  EXPECT_THAT(scan(u"a<!-- open", 1), ElementsAre("2 - [<!-- open] a"));
  Recorder recorder;
  EXPECT_FALSE(GetTagsOfString(u"", record, &recorder, false));
  EXPECT_FALSE(GetTagsOfString(std::nullopt, record, &recorder, false));
  EXPECT_TRUE(recorder.calls.empty());
  EXPECT_TRUE(parseXmlWithHandler(u"<x/>", record, &recorder, true));
  EXPECT_THAT(recorder.calls, ElementsAre("1 x [<x/>] ", "0 - [] "));
}

// Every prefix of broken markup, each in a buffer of exactly its size: the sanitizer build
// sees any read beyond a piece; and the pieces and texts tile the text.
TEST(TagScannerTest, EveryPrefixOfBrokenMarkup) {
  const std::u16string page =
      u"<!DOCTYPE html><html><head><title a='b>c'>T</title><script>x<y</script><style>"
      u"p>q</style><!--[if IE]><![endif]--></head><body a=\"1\" b=2 c><p>x<br/>y &amp; <"
      u"!- z -><![CDATA[ ]]]> <a href=x>l</a><!-- open";
  for (std::size_t length = 1; length <= page.size(); ++length) {
    auto exact = std::make_unique<char16_t[]>(length);
    std::copy(page.begin(), page.begin() + static_cast<std::ptrdiff_t>(length), exact.get());
    struct Tiling {
      std::size_t covered = 0;
      bool ok = true;
    } tiling;
    GetTagsOfString(
        std::u16string_view(exact.get(), length),
        [](std::u16string_view, const unichar*, std::size_t nameStart, std::size_t nameLength,
           std::size_t tagStart, std::size_t tagLength, std::size_t textStart, int, void* context) {
          auto* t = static_cast<Tiling*>(context);
          t->ok = t->ok && textStart == t->covered && tagStart >= textStart &&
                  (nameStart == NSNotFound ||
                   (nameStart > tagStart && nameStart + nameLength < tagStart + tagLength));
          t->covered = tagStart + tagLength;
          return false;
        },
        &tiling, false);
    EXPECT_TRUE(tiling.ok) << length;
    EXPECT_EQ(tiling.covered, length);
  }
}

}  // namespace
}  // namespace orvel
