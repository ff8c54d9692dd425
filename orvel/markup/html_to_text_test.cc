#include "orvel/markup/html_to_text.h"

#include <string>

#include <gtest/gtest.h>

namespace orvel {
namespace {

std::u16string text(std::u16string_view html, Html2TextOptions options = {}) {
  return convertHtml2PlainText(html, options);
}

std::u16string body(std::u16string_view html, Html2TextOptions options = {}) {
  options.onlyBody = true;
  return convertHtml2PlainText(html, options);
}

TEST(HtmlToTextTest, BlocksBreakLinesWithoutPilingUp) {
  EXPECT_EQ(text(u"<p>a</p><p></p><p>b</p>"), u"a\n\nb");
  EXPECT_EQ(text(u"a<br>b<br><br><br>c"), u"a\nb\nc");
  EXPECT_EQ(text(u"<ul><li>one<li>two</ul>after"), u"one\ntwo\nafter");
  EXPECT_EQ(text(u"<h1>Title</h1><div><div><p>x</p></div></div>"), u"Title\n\nx");
  EXPECT_EQ(text(u"a<hr>b<blockquote>c</blockquote>"), u"a\n\nb\n\nc");
}

TEST(HtmlToTextTest, TablesAndInlineSpacing) {
  EXPECT_EQ(text(u"<td>a</td><td>b</td>"), u"a b");
  EXPECT_EQ(text(u"<table><tr><td>a<td>b<tr><td>c</table>d"), u"a b\nc\n\nd");
  // A cell's space stays before the line break that follows it.
  EXPECT_EQ(text(u"<tr><th>a</th><th>b</th></tr><tr><td>c</td></tr>"), u"a b \nc");
  EXPECT_EQ(text(u"x<table><tr><th>H1</th><th>H2</th></tr></table>y"), u"x\n\nH1 H2 \n\ny");
  EXPECT_EQ(text(u"x<table><tr><td>a</table>"), u"x\n\na");
  EXPECT_EQ(text(u"see<a href=x>link</a>now"), u"see link now");
  EXPECT_EQ(text(u"one   two\n\tthree"), u"one two three");
  EXPECT_EQ(text(u"a <b>bold</b> word"), u"a bold word");
  EXPECT_EQ(text(u"a<b>bold</b>word"), u"aboldword");  // inline tags join
  EXPECT_EQ(text(u"name<input type=text>x"), u"name x");
  EXPECT_EQ(text(u"call<code>f()</code>now"), u"call f() now");
}

TEST(HtmlToTextTest, EntitiesAndFolding) {
  EXPECT_EQ(text(u"caf&eacute; &amp; cr&#232;me"), u"caf\u00E9 & cr\u00E8me");
  EXPECT_EQ(text(u"&lt;tag&gt;", {.stdEntities = false}), u"&lt;tag&gt;");
  EXPECT_EQ(text(u"&eacute; &amp;", {.entities = false}), u"&eacute; &");
  EXPECT_EQ(text(u"caf&eacute; cr\u00E8me", {.nonUmlauted = true}), u"cafe creme");
  EXPECT_EQ(text(u"a&nbsp;&nbsp;b"), u"a b");  // a no-break space is white space
  EXPECT_EQ(text(u"x<p>&nbsp;</p>y"), u"x\n\ny");
}

TEST(HtmlToTextTest, InvisibleContentIsDropped) {
  EXPECT_EQ(text(u"a<script>var s = '<p>x</p>';</script>b<style>p{}</style>c"), u"abc");
  EXPECT_EQ(text(u"<select><option>one<option>two</select>after"), u"after");
  EXPECT_EQ(text(u"a<marquee>m</marquee> b<textarea>t</textarea> c"), u"a b c");
  EXPECT_EQ(text(u"a <noscript>enable js</noscript>b <iframe>f</iframe>c"), u"a b c");
  EXPECT_EQ(text(u"<div class=HIDDEN>x</div>y"), u"y");
  EXPECT_EQ(text(u"<div style=\"display: none\"><div>x</div></div>"), u"x");  // no nesting
  EXPECT_EQ(text(u"<span style='visibility:hidden'>x</span>y"), u"y");
  EXPECT_EQ(text(u"<div style='position:absolute; top:-5000px'>x</div>y"), u"y");
  EXPECT_EQ(text(u"<div style='position:absolute; top:50px'>x</div>"), u"x");
  EXPECT_EQ(text(u"<div width=1 height=40>x</div>y"), u"y");  // too narrow to read
  EXPECT_EQ(text(u"<div width=400>x</div>"), u"x");
}

TEST(HtmlToTextTest, HiddenFontsAndJunkOnlyWhenAsked) {
  const std::u16string page = u"<body bgcolor=#fff>a <font color=#FFF>spam</font> b</body>";
  EXPECT_EQ(text(page), u"a spam b");
  bool junk = true;
  EXPECT_EQ(convertHtml2PlainText(page, {.removeJunk = true}, &junk), u"a b");
  EXPECT_FALSE(junk);  // hidden, but too short to be stuffing
  EXPECT_EQ(text(u"a <font style='font-size: 2pt'>tiny</font> b", {.removeJunk = true}), u"a b");
  EXPECT_EQ(text(u"a <font style='font-size: 12pt'>big</font> b", {.removeJunk = true}),
            u"a big b");

  std::u16string stuffing = u"<body bgcolor=white>x<font color=WHITE>";
  for (int k = 0; k < 20; ++k) stuffing += u"cheapwatches ";
  EXPECT_EQ(convertHtml2PlainText(stuffing + u"</font>y", {.removeJunk = true}, &junk), u"xy");
  EXPECT_TRUE(junk);

  const std::u16string longRun(10001, u'w');
  EXPECT_EQ(convertHtml2PlainText(u"a<p>" + longRun + u"</p>b", {.removeJunk = true}, &junk),
            u"a\n\nb");
  EXPECT_TRUE(junk);
  EXPECT_EQ(text(u"a<p>" + longRun).size(), 10004u);  // kept without removeJunk
  const std::u16string anchorRun(3501, u'w');
  EXPECT_EQ(text(u"<a>" + anchorRun + u"</a>b", {.removeJunk = true}), u"b");
  EXPECT_EQ(text(u"<title>T</title>x", {.removeJunk = true}), u"x");
  EXPECT_EQ(text(u"<title>T</title>x"), u"Tx");
}

TEST(HtmlToTextTest, OnlyTheBody) {
  const std::u16string page =
      u"<html><head><title>T</title></head><body bgcolor=#fff>Hello <b>you</b></body></html>";
  EXPECT_EQ(body(page), u"Hello you");
  EXPECT_EQ(body(u"<p>no body at all</p>"), u"no body at all");  // converted whole
  EXPECT_EQ(body(u"<head><noscript>n</noscript><title>T</title></head><body>b</body>"), u"b");
  EXPECT_EQ(text(u""), u"");
  EXPECT_EQ(body(u"<body></body>"), u"");
}

TEST(HtmlToTextTest, IndexingComments) {
  const std::u16string page =
      u"a <!--googleoff: index--> secret <!--googleon: index--> b <!-- googleoff: all --> c";
  EXPECT_EQ(text(page, {.googleTags = true}), u"a b");
  EXPECT_EQ(text(page), u"a secret b c");
  EXPECT_EQ(text(u"a <!--googleoff: snippet--> b", {.googleTags = true}), u"a b");
  EXPECT_EQ(text(u"a <font class=feed_date>May 1</font> b", {.googleTags = true}), u"a b");
}

TEST(HtmlToTextTest, PlaintextAlwaysOpensWithABlankLine) {
  EXPECT_EQ(text(u"<plaintext>a", {.reformat = true}), u"\n\na");
  EXPECT_EQ(text(u"x<plaintext>a", {.reformat = true}), u"x\n\na");
}

TEST(HtmlToTextTest, PreformattedText) {
  const std::u16string pre = u"before<pre>line  one\n  indented\nnext\n\n- item\n</pre>after";
  EXPECT_EQ(text(pre), u"before\n\nline one indented next - item after");
  EXPECT_EQ(text(pre, {.reformat = true}), u"before\n\nline one\n indented next\n\n- item after");
  EXPECT_EQ(text(u"a\r\n\r\nb<pre>x\r\n\r\ny</pre>", {.reformat = true}), u"a b\n\nx\n\ny");
  EXPECT_EQ(text(u"<p>a</p>\n<pre>\nb</pre>", {.reformat = true}), u"a\n\nb");  // no pile-up
}

TEST(HtmlToTextTest, ImagesSpeakThroughTheirAlternatives) {
  EXPECT_EQ(text(u"a<img src=x.png alt=\"a cat\">b"), u"a a cat b");
  EXPECT_EQ(text(u"a<img src=x.png title=Dog>b"), u"a Dog b");
  EXPECT_EQ(text(u"a<img src=x.png alt=cat>b", {.imageAlts = false}), u"ab");
  EXPECT_EQ(text(u"<div class=hidden><img alt=cat></div>b"), u"b");
}

TEST(HtmlToTextTest, SimplifiedConversion) {
  EXPECT_EQ(stringByConvertingHtml2SimplifiedPlainText(
                u"<head><title>T</title></head><body><p>a &amp; b</p>c</body>"),
            u" a & b c");
  EXPECT_EQ(stringByConvertingHtml2SimplifiedPlainText(u"<p>x</p>"), u" x");  // no body
  EXPECT_EQ(stringByConvertingHtml2SimplifiedPlainText(u""), u"");
}

TEST(HtmlToTextTest, BrokenMarkupKeepsItsText) {
  EXPECT_EQ(text(u"if a < b then"), u"if a < b then");  // an unfinished tag is text
  EXPECT_EQ(text(u"a < b and c > d"), u"a d");          // "< b ...>" is a tag named b
  EXPECT_EQ(text(u"x<!-- never closed <p>y"), u"x");
  EXPECT_EQ(text(u"x<p class=\"unclosed>y"), u"x<p class=\"unclosed>y");
  EXPECT_EQ(text(u"<![CDATA[raw]]>text"), u"text");
  EXPECT_EQ(stringByConvertingHtml2PlainText(u"<p>"), u"");
}

}  // namespace
}  // namespace orvel
