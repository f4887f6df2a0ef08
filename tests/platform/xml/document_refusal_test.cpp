// What is not loadable, and what is although it looks odd; encodings and limits.
#include <gtest/gtest.h>

#include <string>

#include "platform/files/files.h"
#include "platform/xml/document.h"
#include "tests/platform/temporary_folder.h"

namespace mercato::xml {
namespace {

using test::TemporaryFolder;

// Why the text is not loadable, less the beginning that all reasons share; empty when it is.
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
  EXPECT_EQ(reason(text + "]>\n<a>&e29;</a>"), "Line 2, column 4: the entity &e29; is not expanded here.");
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
  EXPECT_EQ(read("<?xml version='1.0' encoding='EBCDIC-CP-US'?><a/>"), "the encoding \"ebcdic-cp-us\" is not read.");
  EXPECT_EQ(read(std::string("\xFF\xFE\0\0<\0\0\0", 8)), "the encoding UTF-32 is not read.");
  EXPECT_EQ(read(utf16(u"<a/>", true)), "Line 1, column 2: no name can start here, and a tag needs one.");
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
