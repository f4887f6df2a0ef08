// SPDX-License-Identifier: Apache-2.0
#include "exchange/input/xml_pieces.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>
#include <string_view>

#include "mercato/raised_error.h"
#include "tests/exchange/told.h"

namespace mercato::exchange {
namespace {

// Writes down what comes. A frame is what is called so.
class Written final : public XmlReader {
 public:
  bool is_frame(std::string_view name) const override { return name == "frame"; }
  void frame(const XmlElement& begin) override { write("frame ", begin); }
  void piece(const XmlElement& piece, std::string_view frame) override {
    write(std::string(frame) + "/", piece);
    ++pieces;
  }
  void flawed_piece(const XmlElement& piece, std::string_view reason) override {
    text += std::string(piece.name).append(" ").append(reason).append("\n");
  }

  std::string text;
  std::size_t pieces = 0;

 private:
  void write(const std::string& before, const XmlElement& element) {
    text += before;
    add(element);
    text += " @" + std::to_string(element.place.line) + "\n";
  }
  void add(const XmlElement& element) {
    text.append(element.name);
    for (const XmlAttribute& attribute : element.attributes)
      text.append(" ").append(attribute.name).append("=").append(attribute.value);
    text += "[" + element.text;
    for (const XmlElement& child : element.children) {
      text += " ";
      add(child);
    }
    text += "]";
  }
};

std::string written(std::string_view xml, std::size_t piece = 0) {
  Written reader;
  try {
    BytesOfText bytes(xml, piece == 0 ? xml.size() : piece);
    read_xml(bytes, reader);
  } catch (const Raised& raised) {
    reader.text += "raised " + std::to_string(raised.error().Number) + " " + raised.error().Description + "\n";
  }
  return reader.text;
}

TEST(XmlPieces, EachElementBelowAFrameComesWholeWithItsLine) {
  const std::string xml =
      "<?xml version=\"1.0\"?>\n<r v='1'>\n <a x='&lt;1&gt;' p:y='2' xmlns:p='u'> t <b>u</b>\n v</a>\n"
      " <p:frame xmlns:p='u'><c/></p:frame>\n <d><![CDATA[<&]]></d>\n</r>";
  const std::string expected =
      "frame r v=1[] @2\n"
      "r/a x=<1> y=2[t \n v b[u]] @3\n"
      "frame frame[] @5\n"
      "frame/c[] @5\n"
      "r/d[<&] @6\n";
  EXPECT_EQ(written(xml), expected);
  EXPECT_EQ(written(xml, 1), expected);
}

TEST(XmlPieces, AFrameIsOneOnlyBelowFrames) {
  EXPECT_EQ(written("<r><a><frame><b/></frame></a></r>"), "frame r[] @1\nr/a[ frame[ b[]]] @1\n");
}

TEST(XmlPieces, TextIsInUtf8WhateverTheFileIsIn) {
  EXPECT_EQ(written("<?xml version='1.0' encoding='ISO-8859-1'?><r><a>\xE4</a></r>"),
            "frame r[] @1\nr/a[\xC3\xA4] @1\n");
  EXPECT_EQ(written("<?xml version='1.0' encoding='windows-1252'?><r><a>\x80</a></r>"),
            "frame r[] @1\nr/a[\xE2\x82\xAC] @1\n");
  using namespace std::string_view_literals;
  EXPECT_EQ(written("\xFF\xFE<\0r\0>\0<\0\xE4\0/\0>\0<\0/\0r\0>\0"sv), "frame r[] @1\nr/\xC3\xA4[] @1\n");
  EXPECT_EQ(
      written("<r>\n<a>\xE4</a></r>"),
      "frame r[] @1\nraised 5 Line 2: the XML is not well-formed: Input is not proper UTF-8, indicate encoding\n");
}

TEST(XmlPieces, EntitiesOfTheFileItselfAreReplacedAndNoOthers) {
  EXPECT_EQ(written("<!DOCTYPE r [<!ENTITY a \"x<b/>\"><!ENTITY c \"&a;&a;\">]><r><p q='1'>&c;</p><p>&a;</p></r>"),
            "frame r[] @1\nr/p q=1[xx b[] b[]] @1\nr/p[x b[]] @1\n");
  EXPECT_EQ(written("<!DOCTYPE r SYSTEM 'r.dtd'><r><p>&auml;</p><p q='&auml;'/><p>y</p></r>"),
            "frame r[] @1\n"
            "p refers to the entity auml, which the file does not declare itself\n"
            "p refers to the entity auml, which the file does not declare itself\n"
            "r/p[y] @1\n");
  EXPECT_EQ(written("<!DOCTYPE r SYSTEM 'r.dtd' [<!ENTITY a SYSTEM 'file:///etc/passwd'><!ENTITY % b SYSTEM "
                    "'file:///etc/passwd'> %b;]><r><p>&a;</p></r>"),
            "frame r[] @1\np refers to the entity a, which the file does not declare itself\n");
}

TEST(XmlPieces, EntitiesCannotBlowAFileUp) {
  std::string bomb = "<!DOCTYPE r [<!ENTITY e0 \"0123456789\">";
  for (int i = 1; i < 12; ++i) {
    bomb += "<!ENTITY e" + std::to_string(i) + " \"";
    for (int k = 0; k < 10; ++k) bomb += "&e" + std::to_string(i - 1) + ";";
    bomb += "\">";
  }
  bomb += "]><r><p>&e11;</p></r>";
  EXPECT_EQ(written(bomb),
            "frame r[] @1\nraised 5 Line 1: the XML is not well-formed: Detected an entity reference loop\n");

  std::string quadratic = "<!DOCTYPE r [<!ENTITY e \"" + std::string(100'000, 'x') + "\">]><r><p>";
  for (int i = 0; i < 1000; ++i) quadratic += "&e;";
  quadratic += "</p></r>";
  EXPECT_EQ(written(quadratic),
            "frame r[] @1\nraised 5 Line 1: the entities of the file stand for more text than the file has\n");
}

TEST(XmlPieces, APieceThatIsTooLargeIsToldAndTheNextOneIsRead) {
  std::string xml = "<r><a><b>";
  xml.append(XmlReader::kLargestPiece, 'x').append("<c/></b><c/></a><d/></r>");
  EXPECT_EQ(written(xml), "frame r[] @1\na holds more than 16 MB\nr/d[] @1\n");
  xml = "<r><a>";
  for (std::size_t i = 0; i < XmlReader::kLargestPiece / 64; ++i) xml += "<b/>";
  xml += "</a><d/></r>";
  EXPECT_EQ(written(xml), "frame r[] @1\na holds more than 16 MB\nr/d[] @1\n");
}

TEST(XmlPieces, WhatIsTooDeepOrCutOffOrNotWellFormedIsOneSentence) {
  std::string deep = "<r>";
  for (int i = 0; i < 1000; ++i) deep += "<a>";
  EXPECT_EQ(written(deep), "frame r[] @1\nraised 5 Line 1: elements lie more than 100 deep\n");
  EXPECT_EQ(written("<r>\n<a/>\n<b>x"),
            "frame r[] @1\nr/a[] @2\nraised 5 Line 3: the file ends before its elements do; it was cut off\n");
  EXPECT_EQ(written("<r>\n<a></b></r>"),
            "frame r[] @1\nraised 5 Line 2: the XML is not well-formed: Opening and ending tag mismatch: a line 2 and "
            "b\n");
  EXPECT_EQ(written(""), "raised 5 Line 1: the file is empty\n");
  std::string long_value = "<r x='";
  long_value.resize(20'000'000, 'x');
  EXPECT_EQ(written(long_value + "'/>"),
            "raised 5 Line 1: the XML is not well-formed: internal error: Huge input lookup\n");
}

TEST(XmlPieces, MemoryDoesNotGrowWithTheFile) {
  class Many final : public Bytes {
   public:
    std::string_view next() override {
      if (count_++ == 0) return "<r>";
      if (count_ <= 100) return block_;
      return count_ == 101 ? "</r>" : "";
    }
    std::string_view peek() override { return {}; }

   private:
    static std::string repeated() {
      std::string all;
      for (int i = 0; i < 4000; ++i) all += "<piece number='1'><text>some text of it</text></piece>\n";
      return all;
    }
    int count_ = 0;
    std::string block_ = repeated();
  };
  const auto peak = [] {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
  };
  class Counted final : public XmlReader {
   public:
    bool is_frame(std::string_view) const override { return false; }
    void frame(const XmlElement&) override {}
    void piece(const XmlElement&, std::string_view) override { ++count; }
    void flawed_piece(const XmlElement&, std::string_view) override {}
    int count = 0;
  };
  [[maybe_unused]] const long before = peak();
  Many bytes;
  Counted reader;
  read_xml(bytes, reader);
  EXPECT_EQ(reader.count, 99 * 4000);
#ifndef MERCATO_SANITIZED  // which keeps what was freed
  EXPECT_LT(peak() - before, 5'000) << "kilobytes for a file of 22 MB";
#endif
}

TEST(XmlPieces, TheRootIsToldFromTheFirstBytes) {
  using namespace std::string_view_literals;
  EXPECT_EQ(root_of_xml("<a>"), "a");
  EXPECT_EQ(root_of_xml("\xEF\xBB\xBF<?xml version='1.0'?>\n<!-- <x> -->\n<p:a b='1'>"), "a");
  EXPECT_EQ(root_of_xml("<!DOCTYPE\nBMECAT SYSTEM 'x' [<!ELEMENT y ANY>"), "BMECAT");
  EXPECT_EQ(root_of_xml("<a/>"), "a");
  EXPECT_EQ(root_of_xml("\xFE\xFF\0<\0a\0>"sv), "a");
  EXPECT_EQ(root_of_xml("a,b\n"), "");
  EXPECT_EQ(root_of_xml("<!-- never ends"), "");
  EXPECT_EQ(root_of_xml(""), "");
}

}  // namespace
}  // namespace mercato::exchange
