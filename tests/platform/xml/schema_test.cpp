// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/schema.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>

#include "mercato/raised_error.h"
#include "tests/platform/failure_of.h"
#include "tests/platform/local_server.h"
#include "tests/platform/temporary_folder.h"

namespace mercato::test {
namespace {

constexpr const char* kBegin = "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">";
constexpr const char* kEnd = "</xs:schema>";
const std::string kList = std::string(kBegin) +
                          "<xs:element name='LIST'><xs:complexType><xs:sequence>"
                          "<xs:element name='ITEM' type='xs:int' maxOccurs='unbounded'/>"
                          "</xs:sequence></xs:complexType></xs:element>" +
                          kEnd;

class SchemaTest : public testing::Test {
 protected:
  std::string written(const std::string& text, const std::string& name = "schema.xml") const {
    std::ofstream(folder_ / name, std::ios::binary) << text;
    return folder_ / name;
  }
  void load(const std::string& text) { ASSERT_TRUE(schema_.load(written(text))) << schema_.error(); }
  std::string fault(const std::string& text) const {
    xml::Document document;
    EXPECT_TRUE(document.load_text(text)) << document.error();
    return schema_.fault_of(document);
  }
  void expect_refused(const std::string& text, const std::string& reason) {
    const std::string path = written(text);
    EXPECT_FALSE(schema_.load(path));
    EXPECT_FALSE(schema_.is_loaded());
    EXPECT_EQ(schema_.error(), "The schema \"" + path + "\" cannot be loaded: " + reason + ".");
  }

  TemporaryFolder folder_;
  xml::Schema schema_;
};

TEST_F(SchemaTest, ValidDocumentHasNoFault) {
  load(kList);
  EXPECT_EQ(fault("<LIST><ITEM>5</ITEM><ITEM>6</ITEM></LIST>"), "");
  EXPECT_EQ(fault("<?xml version='1.0'?><!-- c --><!DOCTYPE LIST><LIST>\n <ITEM>5</ITEM>\n</LIST>"), "");
}

TEST_F(SchemaTest, FirstFaultOfADocumentIsToldAsASentence) {
  load(kList);
  EXPECT_EQ(fault("<LIST/>"), "Element 'LIST': Missing child element(s). Expected is ( ITEM ).");
  EXPECT_EQ(fault("<LIST><ITEM>x</ITEM><OTHER/></LIST>"),
            "Element 'ITEM': 'x' is not a valid value of the atomic type 'xs:int'.");
  EXPECT_EQ(fault("<LIST><ITEM>5</ITEM><OTHER/></LIST>"),
            "Element 'OTHER': This element is not expected. Expected is ( ITEM ).");
  EXPECT_EQ(fault("<OTHER/>"), "Element 'OTHER': No matching global declaration available for the validation root.");
  EXPECT_EQ(fault("<LIST xmlns='urn:x'><ITEM>5</ITEM></LIST>"),
            "Element '{urn:x}LIST': No matching global declaration available for the validation root.");
  // The document reader ignores namespaces and loads these. A reader that knows namespaces cannot.
  EXPECT_EQ(fault("<x:LIST><ITEM>5</ITEM></x:LIST>"), "Namespace prefix x on LIST is not defined.");
  EXPECT_EQ(fault("<LIST x:a='1'><ITEM>5</ITEM></LIST>"),
            "Element 'LIST', attribute 'a': The attribute 'a' is not allowed.");
}

TEST_F(SchemaTest, EmptyDocumentIsNeverValid) {
  load(kList);
  EXPECT_EQ(schema_.fault_of(xml::Document()), "The document is empty.");
}

TEST_F(SchemaTest, DocumentIsJudgedAsItStandsNow) {
  load(kList);
  xml::Document document;
  ASSERT_TRUE(document.load_text("<LIST><ITEM>x</ITEM><ITEM>5</ITEM></LIST>"));
  EXPECT_NE(schema_.fault_of(document), "");
  document.elements_by_tag_name("ITEM").item(0).remove();
  EXPECT_EQ(schema_.fault_of(document), "");
}

TEST_F(SchemaTest, DeepAndLongDocumentsAreJudged) {
  load(std::string(kBegin) +
       "<xs:element name='A'><xs:complexType><xs:sequence><xs:element ref='A' minOccurs='0'/><xs:element name='T' "
       "type='xs:string' minOccurs='0'/></xs:sequence></xs:complexType></xs:element>" +
       kEnd);
  std::string deep;
  for (int level = 0; level < 900; ++level) deep += "<A>";
  deep += "<T>" + std::string(std::size_t{12} << 20, 'x') + "</T>";
  for (int level = 0; level < 900; ++level) deep += "</A>";
  EXPECT_EQ(fault(deep), "");
}

TEST_F(SchemaTest, WhatIsNoSchemaIsNotLoaded) {
  EXPECT_FALSE(schema_.load(folder_ / "missing.xml"));
  EXPECT_EQ(schema_.error(), "Cannot read the file \"" + (folder_ / "missing.xml") + "\": No such file or directory.");
  expect_refused("", "it is not well-formed");
  expect_refused("<xs:schema", "it is not well-formed");
  expect_refused("<LIST/>", "it is no XML schema");
  expect_refused("<schema/>", "it is no XML schema");
  const std::string path = written(std::string(kBegin) + "<xs:element name='A' type='nosuch'/>" + kEnd);
  EXPECT_FALSE(schema_.load(path));
  EXPECT_TRUE(schema_.error().starts_with("The schema \"" + path + "\" cannot be loaded: element decl. 'A', "))
      << schema_.error();
}

TEST_F(SchemaTest, SchemaForATargetNamespaceIsNotLoaded) {
  expect_refused("<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:x'/>",
                 "it is for a target namespace");
}

TEST_F(SchemaTest, SchemaMayIncludeThoseBesideIt) {
  // Each file has a prefix of its own. One has none, so that its names without a prefix mean something else.
  written(
      "<schema xmlns='http://www.w3.org/2001/XMLSchema'><include schemaLocation='numbers.xml'/>"
      "<include schemaLocation='schema.xml'/><simpleType name='Word'><restriction base='string'>"
      "<maxLength value='3'/></restriction></simpleType></schema>",
      "words.xml");
  written(
      "<x:schema xmlns:x='http://www.w3.org/2001/XMLSchema'><x:include schemaLocation='words.xml'/>"
      "<x:simpleType name='Small'><x:restriction base='x:int'><x:maxInclusive value='9'/></x:restriction>"
      "</x:simpleType><x:element name='SMALL' type='Small'/></x:schema>",
      "numbers.xml");
  load(
      "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'><xs:include schemaLocation='words.xml'/>"
      "<xs:element name='LIST'><xs:complexType><xs:sequence><xs:element name='W' type='Word'/>"
      "<xs:element ref='SMALL'/></xs:sequence></xs:complexType></xs:element></xs:schema>");
  EXPECT_EQ(fault("<LIST><W>abc</W><SMALL>9</SMALL></LIST>"), "");
  EXPECT_EQ(
      fault("<LIST><W>abcd</W><SMALL>9</SMALL></LIST>"),
      "Element 'W': [facet 'maxLength'] The value has a length of '4'; this exceeds the allowed maximum length of "
      "'3'.");
  EXPECT_EQ(fault("<LIST><W>abc</W><SMALL>10</SMALL></LIST>"),
            "Element 'SMALL': [facet 'maxInclusive'] The value '10' is greater than the maximum value allowed ('9').");
}

TEST_F(SchemaTest, WhatIsIncludedIsHeldToTheSameRules) {
  const std::string including = kBegin + std::string("<xs:include schemaLocation='other.xml'/>") + kEnd;
  const std::string path = written(including);
  EXPECT_FALSE(schema_.load(path));
  EXPECT_EQ(schema_.error(), "Cannot read the file \"" + (folder_ / "other.xml") + "\": No such file or directory.");
  const struct {
    std::string text;
    const char* reason;
  } table[] = {
      {"<xs:schema", "is not well-formed"},
      {"<LIST/>", "is no XML schema"},
      {"<!DOCTYPE x>" + kList, "has a DOCTYPE"},
      {"<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:x'/>", "is for a target namespace"},
      {"<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' blockDefault='extension'/>", "has another blockDefault"},
      {kBegin + std::string("<xs:import namespace='urn:x' schemaLocation='schema.xml'/>") + kEnd,
       "reads another schema (import)"},
      {kBegin + std::string("<xs:include schemaLocation='/etc/passwd'/>") + kEnd,
       "includes a schema that is not beside it (/etc/passwd)"},
  };
  for (const auto& row : table) {
    written(row.text, "other.xml");
    expect_refused(including, std::string("other.xml, which it includes, ") + row.reason);
  }
}

TEST_F(SchemaTest, NothingBesideTheFolderIsEverRead) {
  std::atomic<int> asked = 0;
  const LocalServer server([&](const std::string&) {
    ++asked;
    return LocalServer::page("200 OK", kList);
  });
  written(kList, "other.xml");
  const std::vector<std::string> all_elsewhere = {server.url("/other.xml"),
                                                  "./other.xml",
                                                  "../other.xml",
                                                  "a\\other.xml",
                                                  "..",
                                                  "other.xml%23",
                                                  "file:other.xml",
                                                  ""};
  for (const std::string& elsewhere : all_elsewhere)
    expect_refused(kBegin + ("<xs:include schemaLocation='" + elsewhere + "'/>") + kEnd,
                   "it includes a schema that is not beside it (" + elsewhere + ")");
  for (const std::string& other : {server.url("/other.xml"), std::string("other.xml")}) {
    expect_refused(kBegin + ("<xs:import namespace='urn:x' schemaLocation='" + other + "'/>") + kEnd,
                   "it reads another schema (import)");
    expect_refused(kBegin + ("<xs:redefine schemaLocation='" + other + "'/>") + kEnd,
                   "it reads another schema (redefine)");
    expect_refused("<!DOCTYPE x SYSTEM '" + other + "'>" + kList, "it has a DOCTYPE");
    expect_refused("<!DOCTYPE x [<!ENTITY e SYSTEM '" + other + "'>]>" + kList, "it has a DOCTYPE");
    // A document's own hints are not followed.
    load(kList);
    EXPECT_NE(fault("<OTHER xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:noNamespaceSchemaLocation='" +
                    other + "'/>"),
              "");
  }
  EXPECT_EQ(asked, 0);
}

TEST_F(SchemaTest, SchemaThatIsNotLoadedJudgesNothing) {
  xml::Document document;
  EXPECT_EQ(failure_of([&] { schema_.fault_of(document); }).Number, error_number::kObjectNotSet);
  load(kList);
  EXPECT_FALSE(schema_.load(folder_ / "missing.xml"));
  EXPECT_EQ(failure_of([&] { schema_.fault_of(document); }).Number, error_number::kObjectNotSet);
}

}  // namespace
}  // namespace mercato::test
