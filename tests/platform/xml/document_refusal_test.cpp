// SPDX-License-Identifier: Apache-2.0
// Documents that are not loaded, odd ones that are, encodings and limits.
#include <gtest/gtest.h>

#include <string>

#include "platform/files/files.h"
#include "platform/xml/document.h"
#include "tests/platform/temporary_folder.h"

namespace mercato::xml {
namespace {

using test::TemporaryFolder;

// Why the text is not loaded, without the beginning that all reasons share. Empty when it is loaded.
std::string reason(std::string_view text, const Limits& limits = {}) {
  Document document(limits);
  const bool loaded = document.load_text(text);
  EXPECT_EQ(loaded, document.error().empty());
  EXPECT_EQ(loaded, !document.document_element().is_null());
  if (loaded) return {};
  const std::string begin = "The text cannot be loaded: ";
  EXPECT_EQ(document.error().substr(0, begin.size()), begin);
  return document.error().substr(std::min(begin.size(), document.error().size()));
}

TEST(Refusal, WhatIsNotWellFormedIsNotLoadableAndTheReasonSaysWhere) {
  const struct {
    std::string text;
    std::string reason;
  } cases[] = {
      {"", "Line 1, column 1: the document is empty."},
      {"\xEF\xBB\xBF", "Line 1, column 1: the document is empty."},
      {" \n ", "Line 2, column 2: there is no root element."},
      {"hello", "Line 1, column 1: text stands outside the root element."},
      {"<!-- only -->", "Line 1, column 14: there is no root element."},
      {"<a/>x", "Line 1, column 5: text stands outside the root element."},
      {"<a/>&amp;", "Line 1, column 5: text stands outside the root element."},
      {"<a/><b/>", "Line 1, column 5: something stands behind the root element."},
      {"<a/><![CDATA[x]]>", "Line 1, column 5: something stands behind the root element."},
      {"<a/></a>", "Line 1, column 5: an end tag stands without its start tag."},
      {"<a>\n<b>\n</a>", "Line 3, column 1: the end tag </a> does not match the start tag <b>."},
      {"<a></ab>", "Line 1, column 4: the end tag </ab> does not match the start tag <a>."},
      {"<ab></a>", "Line 1, column 5: the end tag </a> does not match the start tag <ab>."},
      {"<a></a\xC3\xA4>", "Line 1, column 4: the end tag </a\xC3\xA4> does not match the start tag <a>."},
      {"<a></a x='1'>", "Line 1, column 4: the end tag </a> is not well-formed."},
      {"<a><b/>", "Line 1, column 8: the element <a> is never closed."},
      {"<a", "Line 1, column 1: the tag <a> never ends."},
      {"<a/", "Line 1, column 3: the tag <a> is not well-formed."},
      {"<a b='1'c='2'/>", "Line 1, column 9: the tag <a> is not well-formed."},
      {"<a b/>", "Line 1, column 5: the attribute b has no value."},
      {"<a b=1/>", "Line 1, column 6: the value of the attribute b is not quoted."},
      {"<a b='1/>", "Line 1, column 4: the value of the attribute b never ends."},
      {"<a b='<'/>", "Line 1, column 7: a < stands in the value of the attribute b."},
      {"<a b='1' b='2'/>", "Line 1, column 10: the attribute b is repeated."},
      {"<1/>", "Line 1, column 2: no name can start here, and a tag needs one."},
      {"<a>< b/></a>", "Line 1, column 5: no name can start here, and a tag needs one."},
      {"<\xC3\x97/>", "Line 1, column 2: no name can start here, and a tag needs one."},
      {"<a><![cdata[x]]></a>", "Line 1, column 5: no name can start here, and a tag needs one."},
      {"<a>a & b</a>", "Line 1, column 6: a stray &."},
      {"<a>AT&T</a>", "Line 1, column 6: a stray &."},
      {"<a b='x&y'/>", "Line 1, column 8: a stray &."},
      {"<a>&nbsp;</a>", "Line 1, column 4: the entity &nbsp; is not expanded here."},
      {"<a b='&nbsp;'/>", "Line 1, column 7: the entity &nbsp; is not expanded here."},
      {"<a>&LT;</a>", "Line 1, column 4: the entity &LT; is not expanded here."},
      {"<a>&#0;</a>", "Line 1, column 4: a reference to a character that XML does not allow."},
      {"<a>&#xD800;</a>", "Line 1, column 4: a reference to a character that XML does not allow."},
      {"<a>&#x110000;</a>", "Line 1, column 4: a reference to a character that XML does not allow."},
      {"<a>&#99999999999999999999;</a>", "Line 1, column 4: a reference to a character that XML does not allow."},
      {"<a>&#;</a>", "Line 1, column 4: a character reference is incomplete."},
      {"<a>&#12a;</a>", "Line 1, column 4: a character reference is incomplete."},
      {"<a>&#x;</a>", "Line 1, column 4: a character reference is incomplete."},
      {"<a>]]></a>", "Line 1, column 4: ]]> stands in text."},
      {"<a>\x01</a>", "Line 1, column 4: a control character that XML does not allow."},
      {std::string("<a>\0</a>", 8), "Line 1, column 4: a control character that XML does not allow."},
      {std::string("<a/>\0", 5), "Line 1, column 5: a control character that XML does not allow."},
      {"<a>\xC3\xA4\xFF</a>", "Line 1, column 5: the bytes are not UTF-8."},
      {"<a>\xC3</a>", "Line 1, column 4: the bytes are not UTF-8."},
      {"<a>\xC0\xBC</a>", "Line 1, column 4: the bytes are not UTF-8."},
      {"<a>\xE0\x80\xBC</a>", "Line 1, column 4: the bytes are not UTF-8."},
      {"<a>\xED\xA0\x80</a>", "Line 1, column 4: the bytes are not UTF-8."},
      {"<a>\xF4\x90\x80\x80</a>", "Line 1, column 4: the bytes are not UTF-8."},
      {"<a>\xEF\xBF\xBF</a>", "Line 1, column 4: a character that XML does not allow."},
      {"<a b='\xFF'/>", "Line 1, column 7: the bytes are not UTF-8."},
      {"<a><!--\xFF--></a>", "Line 1, column 8: the bytes are not UTF-8."},
      {"<a><![CDATA[\xFF]]></a>", "Line 1, column 13: the bytes are not UTF-8."},
      {"<a><?p \xFF?></a>", "Line 1, column 8: the bytes are not UTF-8."},
      {"<a><!-- x", "Line 1, column 4: the comment never ends."},
      {"<a><!-- a -- b --></a>", "Line 1, column 11: -- stands in a comment."},
      {"<a><!-- a ---></a>", "Line 1, column 11: -- stands in a comment."},
      {"<a><![CDATA[ x", "Line 1, column 4: the CDATA section never ends."},
      {"<a><?p x", "Line 1, column 4: the processing instruction never ends."},
      {"<a><?p+?></a>", "Line 1, column 4: the processing instruction is not well-formed."},
      {" <?xml version='1.0'?><a/>", "Line 1, column 2: the XML declaration does not stand at the start."},
      {"<a><?XML x?></a>", "Line 1, column 4: the XML declaration does not stand at the start."},
      {"<?xml version='2.0'?><a/>", "Line 1, column 1: the XML declaration is not well-formed."},
      {"<?xml encoding='UTF-8'?><a/>", "Line 1, column 1: the XML declaration is not well-formed."},
      {"<?xml version='1.0' version='1.0'?><a/>", "Line 1, column 21: the attribute version is repeated."},
      {"<?xml version='1.0' standalone='no' encoding='UTF-8'?><a/>",
       "Line 1, column 1: the XML declaration is not well-formed."},
      {"<?xml version='1.0' ?", "Line 1, column 21: no name can start here, and an attribute needs one."},
      {"<!DOCTYPE a [<!ELEMENT a ANY>]", "Line 1, column 1: the DOCTYPE never ends."},
      {"<!DOCTYPE a [ x", "Line 1, column 13: the DOCTYPE never ends."},
      {"<!DOCTYPE a SYSTEM 'x", "Line 1, column 20: a literal in the DOCTYPE never ends."},
      {"<!DOCTYPE a><!DOCTYPE a><a/>", "Line 1, column 14: no name can start here, and a tag needs one."},
      {"<a/><!DOCTYPE a>", "Line 1, column 5: something stands behind the root element."},
  };
  for (const auto& row : cases) EXPECT_EQ(reason(row.text), row.reason) << row.text;
}

TEST(Refusal, WhatIsWellFormedIsLoadable) {
  const std::string cases[] = {
      "<a/>",
      "\xEF\xBB\xBF<a/>",
      "\n<a/>\n",
      "<?xml version=\"1.0\"?><a/>",
      "<?xml version = '1.1' encoding = \"UTF-8\" standalone='no' ?>\n<a/>",
      "<?xmlish?><a/>",
      "<!-- - - --><?p?><!DOCTYPE a><a/><!----><?p ?"
      "?>",
      "<!DOCTYPE a PUBLIC \"-//x>//\" 'y[<\"'><a/>",
      "<!DOCTYPE a [<!-- ]> ' --><?p ]> ' ?><!ATTLIST a b CDATA ']>'>] ><a/>",
      "<a b = '\"' c\n=\n\"'>\"></a >",
      "<a.b-c:d_e\xC3\xA4\xC2\xB7 \xC3\xA4='1'/>",
      "<a>]] > ]]&gt; > ' \"</a>",
      "<a><![CDATA[ ]] ]]]></a>",
      "<a>&#x10FFFF;&#00000065;&#xA;</a>",
      "<a>\xF0\x9F\x98\x80</a>",
  };
  for (const std::string& text : cases) EXPECT_EQ(reason(text), "") << text;
}

TEST(Refusal, ARepeatedAttributeIsFoundAmongMany) {
  std::string many = "<a";
  for (int i = 0; i < 20'000; ++i) many += " a" + std::to_string(i) + "=''";
  EXPECT_EQ(reason(many + "/>"), "");
  EXPECT_EQ(reason(many + " a7=''/>"), "Line 1, column 1: the attribute a7 is repeated.");
}

TEST(Refusal, ALongNameIsShortenedInTheReasonWithoutSplittingACharacter) {
  std::string name;
  for (int i = 0; i < 41; ++i) name += "\xC3\xA4";
  EXPECT_EQ(reason("<" + name + "></b>"),
            "Line 1, column 44: the end tag </b> does not match the start tag <" + name.substr(0, 80) + "...>.");
}

TEST(Refusal, TheColumnCountsCharacters) {
  EXPECT_EQ(reason("<a>\n\xC3\xA4\xC3\xA4&</a>"), "Line 2, column 3: a stray &.");
}

TEST(Depth, NestingIsBoundedAndTheBoundItselfIsFine) {
  const auto nested = [](std::size_t depth) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) text += "<a>";
    for (std::size_t i = 0; i < depth; ++i) text += "</a>";
    return text;
  };
  EXPECT_EQ(reason(nested(1000)), "");
  EXPECT_EQ(reason(nested(1001)), "Line 1, column 3001: elements are nested deeper than 1000.");
  EXPECT_EQ(reason(nested(100'000)), "Line 1, column 3001: elements are nested deeper than 1000.");
  Limits limits;
  limits.max_depth = 2;
  EXPECT_EQ(reason("<a><b/><b/></a>", limits), "");
  EXPECT_EQ(reason("<a><b><c/></b></a>", limits), "Line 1, column 7: elements are nested deeper than 2.");
}

TEST(Depth, TheDeepestDocumentAllowedIsReadSearchedAndSaved) {
  std::string text = "x";
  for (int i = 0; i < 1000; ++i) text = "<a>" + text + "</a>";
  Document document;
  ASSERT_TRUE(document.load_text(text));
  EXPECT_EQ(document.document_element().typed_value(), "x");
  EXPECT_EQ(document.select("//a").size(), 1000u);
  EXPECT_EQ(document.select("descendant-or-self::a[string() = 'x']").size(), 1000u);
  EXPECT_FALSE(document.save_text().empty());
  document.document_element().children().item(0).remove();
  EXPECT_EQ(document.select("/descendant::a").size(), 1u);
}

TEST(Size, ADocumentLargerThanTheLimitIsNotLoadable) {
  Limits limits;
  limits.max_bytes = 7;
  const TemporaryFolder folder;
  files::write_file_atomically(folder / "a.xml", "<a>1</a>");
  Document document(limits);
  EXPECT_FALSE(document.load_text("<a>1</a>"));
  EXPECT_EQ(document.error(), "The text has more than 7 bytes.");
  EXPECT_FALSE(document.load(folder / "a.xml"));
  EXPECT_EQ(document.error(), "Cannot read the file \"" + (folder / "a.xml") + "\": it has more than 7 bytes.");
  EXPECT_TRUE(document.load_text("<a></a>")) << document.error();
}

TEST(Entities, AnExternalEntityIsNeverRead) {
  const TemporaryFolder folder;
  files::write_file_atomically(folder / "secret", "hush");
  const std::string doctype = "<!DOCTYPE a [<!ENTITY e SYSTEM \"file://" + (folder / "secret") + "\">]>";
  EXPECT_EQ(reason(doctype + "\n<a>&e;</a>"), "Line 2, column 4: the entity &e; is not expanded here.");
  EXPECT_EQ(reason(doctype + "\n<a b='&e;'/>"), "Line 2, column 7: the entity &e; is not expanded here.");
}

TEST(Entities, ADeclarationWithoutUseIsDroppedAndHarmless) {
  Document document;
  ASSERT_TRUE(document.load_text("<!DOCTYPE a SYSTEM \"http://127.0.0.1:1/a.dtd\" [<!ENTITY e \"x\"> %p; ]><a>1</a>"))
      << document.error();
  EXPECT_EQ(document.document_element().typed_value(), "1");
  EXPECT_EQ(document.save_text().find("ENTITY"), std::string::npos);
}

TEST(Entities, ABombOfEntitiesIsRefused) {
  std::string text = "<!DOCTYPE a [<!ENTITY e0 \"ha\">";
  for (int i = 1; i < 30; ++i) {
    const std::string before = "&e" + std::to_string(i - 1) + ";";
    text += "<!ENTITY e" + std::to_string(i) + " \"" + before + before + "\">";
  }
  EXPECT_EQ(reason(text + "]>\n<a>&e29;</a>"),
            "Line 2, column 4: the entity &e29; cannot be expanded: the document would become too large.");
  EXPECT_EQ(reason(text + "]>\n<a b='&e29;'/>"),
            "Line 2, column 7: the entity &e29; cannot be expanded: the document would become too large.");
}

// Each is within the bound, but all together are not.
TEST(Entities, AllOfThemTogetherAreBounded) {
  const std::string text = "<!DOCTYPE a [<!ENTITY e \"" + std::string(100'000, 'x') + "\">]>\n<a>";
  std::string references;
  for (int i = 0; i < 100; ++i) references += "&e;";
  EXPECT_EQ(reason(text + references + "</a>"),
            "Line 2, column 4: its entities cannot be expanded: the document would become too large.");
  Document document;
  EXPECT_TRUE(document.load_text(text + references.substr(0, 3 * 50) + "</a>")) << document.error();
}

// Documents with entities of their own could not be loaded.
TEST(Entities, InternalOnesStandForTheirTexts) {
  const auto read = [](const std::string& subset, const std::string& content) {
    Document document;
    if (!document.load_text("<!DOCTYPE a [" + subset + "]><a>" + content + "</a>")) return document.error();
    return document.document_element().save_text();
  };
  const struct {
    std::string subset, content, expected;
  } cases[] = {
      {"<!ENTITY e 'x'>", "[&e;]", "<a>[x]</a>\n"},
      {"<!ENTITY e \"it's\">", "&e;<b c='&e;' d=\"&e;\"/>", "<a>it's<b c=\"it's\" d=\"it's\"/></a>\n"},
      {"<!ENTITY e 'say \"x\"'>", "<b c=\"&e;\"/>", "<a>\n  <b c=\"say &quot;x&quot;\"/>\n</a>\n"},
      {"<!ENTITY e 'x'><!ENTITY f '(&e;)'>", "&f;&f;", "<a>(x)(x)</a>\n"},
      {"<!ENTITY f '(&e;)'><!ENTITY e 'x'>", "&f;", "<a>(x)</a>\n"},
      {"<!ENTITY e '<b>x</b>'>", "&e;", "<a>\n  <b>x</b>\n</a>\n"},
      {"<!ENTITY e '<b c=\"&f;\"/>'><!ENTITY f 'x'>", "&e;", "<a>\n  <b c=\"x\"/>\n</a>\n"},
      {"<!ENTITY e '&#252;&#x20AC;'>", "&e;", "<a>\u00FC\u20AC</a>\n"},
      {"<!ENTITY e 'R&#38;D'>", "x", "<a>x</a>\n"},
      {"<!ENTITY e 'R&#38;amp;D'>", "&e;", "<a>R&amp;D</a>\n"},
      {"<!ENTITY e '&amp;&lt;'>", "&e;", "<a>&amp;&lt;</a>\n"},
      {"<!ENTITY e 'first'><!ENTITY e 'second'>", "&e;", "<a>first</a>\n"},
      {"<!ENTITY amp 'x'>", "&amp;", "<a>&amp;</a>\n"},
      {"<!ENTITY gr\u00F6\u00DFe 'x'>", "&gr\u00F6\u00DFe;", "<a>x</a>\n"},
      {"<!--<!ENTITY e 'no'>--><?p <!ENTITY e 'no'>?><!ENTITY e 'x'>", "&e;", "<a>x</a>\n"},
      {"<!ENTITY e 'x'>", "<![CDATA[&e;]]><!--&e;-->", "<a><![CDATA[&e;]]><!--&e;--></a>\n"},
      {"<!ENTITY % p 'x'><!ENTITY e 'x'>", "&e;", "<a>x</a>\n"},
  };
  for (const auto& each : cases)
    EXPECT_EQ(read(each.subset, each.content), each.expected) << each.subset << each.content;
}

TEST(Entities, WhatIsNoEntityOfTheDocumentIsRefusedWithItsPlace) {
  const struct {
    std::string subset, content, expected;
  } cases[] = {
      {"<!ENTITY e '&e;'>", "&e;", "Line 2, column 4: the entity &e; cannot be expanded: it refers to itself."},
      {"<!ENTITY e '&f;'><!ENTITY f '&e;'>", "\n&e;",
       "Line 3, column 1: the entity &e; cannot be expanded: it refers to itself."},
      {"<!ENTITY e '<b>'>", "&e;</b>", "Line 2, column 7: the end tag </b> does not match the start tag <a>."},
      {"<!ENTITY e '<b>'>", "&e;",
       "Line 2, column 4: the entity &e; cannot be expanded: its text is not well-formed there."},
      {"<!ENTITY e '</a><a>'>", "&e;",
       "Line 2, column 4: the entity &e; cannot be expanded: its text is not well-formed there."},
      {"<!ENTITY e '<'>", "<b c='&e;'/>",
       "Line 2, column 10: the entity &e; cannot be expanded: its text is not well-formed there."},
      {"<!ENTITY e '&#38;'>", "&e;lt;",
       "Line 2, column 4: the entity &e; cannot be expanded: its text is not well-formed there."},
      {"<!ENTITY e '&nbsp;'>", "&e;",
       "Line 2, column 4: the entity &e; cannot be expanded: its text is not well-formed there."},
      {"<!ENTITY e '&#0;'>", "x", "Line 1, column 26: a reference to a character that XML does not allow."},
      {"%p;<!ENTITY e 'x'>", "&e;", "Line 2, column 4: the entity &e; is not expanded here."},
      {"<!ENTITY e SYSTEM 'x'>", "&e;", "Line 2, column 4: the entity &e; is not expanded here."},
      {"<!ENTITY % e 'x'>", "&e;", "Line 2, column 4: the entity &e; is not expanded here."},
  };
  for (const auto& each : cases)
    EXPECT_EQ(reason("<!DOCTYPE a [" + each.subset + "]>\n<a>" + each.content + "</a>"), each.expected)
        << each.subset << each.content;
}

TEST(Entities, ALongChainOfThemIsRefused) {
  std::string text = "<!DOCTYPE a [<!ENTITY e0 \"x\">";
  for (int i = 1; i < 100'000; ++i) text += "<!ENTITY e" + std::to_string(i) + " \"&e" + std::to_string(i - 1) + ";\">";
  EXPECT_EQ(reason(text + "]>\n<a>&e99999;</a>"),
            "Line 2, column 4: the entity &e99999; cannot be expanded: entities are nested deeper than 50.");
}

class Encodings : public testing::Test {
 protected:
  // The text of the root of a file of these bytes, or the reason why there is none.
  std::string read(const std::string& bytes, const Limits& limits = {}) {
    const std::string path = folder_ / "a.xml";
    files::write_file_atomically(path, bytes);
    Document document(limits);
    if (document.load(path)) return document.document_element().typed_value();
    const std::string begin = "The document \"" + path + "\" cannot be loaded: ";
    EXPECT_EQ(document.error().substr(0, begin.size()), begin);
    return document.error().substr(std::min(begin.size(), document.error().size()));
  }

  static std::string utf16(std::u16string_view text, bool little) {
    std::string bytes;
    for (const char16_t unit : text) {
      const char low = static_cast<char>(unit & 0xFF);
      const char high = static_cast<char>(unit >> 8);
      bytes += little ? low : high;
      bytes += little ? high : low;
    }
    return bytes;
  }

  static std::string utf32(std::u32string_view text, bool big) {
    std::string bytes;
    for (const char32_t c : text)
      for (int i = 0; i < 4; ++i) bytes += static_cast<char>((c >> (8 * (big ? 3 - i : i))) & 0xFF);
    return bytes;
  }

  TemporaryFolder folder_;
};

TEST_F(Encodings, Utf8IsReadWithAndWithoutMarkAndDeclaration) {
  EXPECT_EQ(read("<a>\xC3\xA4</a>"), "\xC3\xA4");
  EXPECT_EQ(read("\xEF\xBB\xBF<a>\xC3\xA4</a>"), "\xC3\xA4");
  EXPECT_EQ(read("<?xml version='1.0' encoding='utf-8'?><a>\xC3\xA4</a>"), "\xC3\xA4");
  EXPECT_EQ(read("<?xml version='1.0' encoding='US-ASCII'?><a>a</a>"), "a");
}

TEST_F(Encodings, Utf16IsReadByItsMark) {
  const std::u16string_view text = u"\xFEFF<?xml version='1.0' encoding='UTF-16'?><a>\u00E4\u20AC\U0001F600</a>";
  EXPECT_EQ(read(utf16(text, true)), "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
  EXPECT_EQ(read(utf16(text, false)), "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST_F(Encodings, DeclaredSingleByteEncodingsAreConverted) {
  EXPECT_EQ(read("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE4</a>"), "\xC3\xA4");
  EXPECT_EQ(read("<?xml version='1.0' encoding=\"iso-8859-1\"?><a>\xE4</a>"), "\xC3\xA4");
  EXPECT_EQ(read("<?xml version='1.0' encoding='Windows-1252'?><a>\x80\xE4</a>"), "\xE2\x82\xAC\xC3\xA4");
}

// Only two of them were read.
TEST_F(Encodings, EveryEncodingThatIcuKnowsIsRead) {
  const struct {
    const char* encoding;
    const char* bytes;
    const char* expected;
  } cases[] = {
      {"ISO-8859-15", "\xA4\xE4", "\u20AC\u00E4"},
      {"iso-8859-2", "\xB1", "\u0105"},
      {"windows-1250", "\x9Cwi\xEAto", "\u015Bwi\u0119to"},
      {"windows-1251", "\xC4\xE0", "\u0414\u0430"},
      {"KOI8-R", "\xE4", "\u0414"},
      {"IBM850", "\x84", "\u00E4"},
      {"macintosh", "\x8A", "\u00E4"},
      {"Shift_JIS", "\x93\xFA", "\u65E5"},
      {"EUC-JP", "\xC6\xFC", "\u65E5"},
      {"ISO-2022-JP", "\x1B$BF|\x1B(B", "\u65E5"},
      {"GB18030", "\xC8\xD5", "\u65E5"},
      {"Big5", "\xA4\xE9", "\u65E5"},
      {"EUC-KR", "\xC0\xCF", "\uC77C"},
  };
  for (const auto& each : cases)
    EXPECT_EQ(read("<?xml version='1.0' encoding='" + std::string(each.encoding) + "'?><a>" + each.bytes + "</a>"),
              each.expected)
        << each.encoding;
}

TEST_F(Encodings, Utf32IsReadByItsMark) {
  EXPECT_EQ(read(utf32(U"\xFEFF<a>\u00E4</a>", true)), "\u00E4");
  EXPECT_EQ(read(utf32(U"\xFEFF<a>\u00E4</a>", false)), "\u00E4");
}

// Their declarations were not seen.
TEST_F(Encodings, Utf16AndUtf32AreReadByTheirDeclarationToo) {
  const std::u16string long_text(1000, u'\u20AC');
  for (const bool little : {true, false}) {
    for (const std::u16string& name : {std::u16string(little ? u"UTF-16LE" : u"utf-16be"), std::u16string(u"UTF-16"),
                                       std::u16string(u"ISO-10646-UCS-2")}) {
      const std::u16string head = u"<?xml version='1.0' encoding='" + name + u"'?>";
      EXPECT_EQ(read(utf16(head + u"<a>\u00E4\u20AC\U0001F600</a>", little)), "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
      EXPECT_EQ(read(utf16(head + u"<a>" + long_text + u"</a>", little)).size(), 3000u);
    }
    for (const std::u32string& name : {std::u32string(little ? U"UTF-32LE" : U"utf-32be"), std::u32string(U"UTF-32")})
      EXPECT_EQ(read(utf32(U"<?xml version='1.0' encoding=\"" + name + U"\"?><a>\u00E4\U0001F600</a>", !little)),
                "\u00E4\U0001F600");
  }
}

TEST_F(Encodings, ADocumentInEbcdicIsReadByItsDeclaration) {
  // <?xml version="1.0" encoding="IBM037"?><a>x</a>
  EXPECT_EQ(read("\x4C\x6F\xA7\x94\x93\x40\xA5\x85\x99\xA2\x89\x96\x95\x7E\x7F\xF1\x4B\xF0\x7F\x40\x85\x95\x83"
                 "\x96\x84\x89\x95\x87\x7E\x7F\xC9\xC2\xD4\xF0\xF3\xF7\x7F\x6F\x6E\x4C\x81\x6E\xA7\x4C\x61\x81\x6E"),
            "x");
}

TEST_F(Encodings, WhatWasReadInAnotherEncodingIsSavedAsUtf8) {
  files::write_file_atomically(folder_ / "a.xml", "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE4</a>");
  Document document;
  ASSERT_TRUE(document.load(folder_ / "a.xml"));
  EXPECT_EQ(document.save_text(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a>\xC3\xA4</a>\n");
}

TEST_F(Encodings, ATextIsUtf8WhateverItDeclares) {
  Document document;
  ASSERT_TRUE(document.load_text("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xC3\xA4</a>"));
  EXPECT_EQ(document.document_element().typed_value(), "\xC3\xA4");
}

TEST_F(Encodings, OtherAndBrokenEncodingsAreRefused) {
  EXPECT_EQ(read("<?xml version='1.0' encoding='klingon'?><a/>"), "the encoding \"klingon\" is not read.");
  EXPECT_EQ(read("<?xml version='1.0' encoding='../x'?><a/>"), "the encoding \"../x\" is not read.");
  EXPECT_EQ(read("<?xml version='1.0' encoding='EBCDIC-CP-US'?><a/>"),
            "it is not in the encoding \"ebcdic-cp-us\" that it declares.");
  EXPECT_EQ(read("<?xml version='1.0' encoding='Shift_JIS'?><a>\x93</a>"),
            "it cannot be converted from shift_jis to UTF-8.");
  EXPECT_EQ(read(utf16(u"<a/>", true)), "Line 1, column 2: no name can start here, and a tag needs one.");
  EXPECT_EQ(read(utf16(u"<?xml version='1.0' encoding='UTF-16BE'?><a/>", true)),
            "it is not in the encoding \"utf-16be\" that it declares.");
  EXPECT_EQ(read(utf16(u"<?xml version='1.0' encoding='UTF-8'?><a/>", false)),
            "it is not in the encoding \"utf-8\" that it declares.");
  EXPECT_EQ(read("<?xml version='1.0' encoding='UTF-16LE'?><a/> "),
            "it is not in the encoding \"utf-16le\" that it declares.");
  EXPECT_EQ(read(utf32(U"<?xml version='1.0' encoding='klingon'?><a/>", false)),
            "the encoding \"klingon\" is not read.");
  EXPECT_EQ(read(utf16(u"<?xml version='1.0' encoding='UTF-16LE'?><a>\xD800</a>", true)),
            "it cannot be converted from UTF-16LE to UTF-8.");
  EXPECT_EQ(read(utf16(u"\xFEFF<a>\xD800</a>", true)), "it cannot be converted from UTF-16LE to UTF-8.");
  EXPECT_EQ(read(utf16(u"\xFEFF<a/>", true) + "x"), "it cannot be converted from UTF-16LE to UTF-8.");
  EXPECT_EQ(read(utf16(u"\xFEFF", true)), "Line 1, column 1: the document is empty.");
}

TEST_F(Encodings, TheSizeIsLimitedAfterConversionToo) {
  const std::string text = "<?xml version='1.0' encoding='ISO-8859-1'?><a>" + std::string(100, '\xE4') + "</a>";
  Limits limits;
  limits.max_bytes = text.size();
  EXPECT_EQ(read(text, limits), "it has more than " + std::to_string(text.size()) + " bytes.");
}

}  // namespace
}  // namespace mercato::xml
