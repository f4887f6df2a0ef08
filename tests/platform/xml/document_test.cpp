// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/document.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <string>
#include <utility>
#include <vector>

#include "platform/files/files.h"
#include "tests/platform/failure_of.h"
#include "tests/platform/local_server.h"
#include "tests/platform/temporary_folder.h"
#include "tests/platform/xml/loaded_document.h"

namespace mercato::xml {
namespace {

using test::failure_of;
using test::LocalServer;
using test::TemporaryFolder;

using Texts = std::vector<std::string>;

TEST(Reading, ElementsOfANameAreFoundAtAnyDepthInDocumentOrder) {
  const Document document = loaded("<a><P>1</P><b><P>2<P>3</P></P></b><p>no</p><PX>no</PX><P>4</P></a>");
  EXPECT_EQ(values(document.elements_by_tag_name("P")), (Texts{"1", "23", "3", "4"}));
  EXPECT_TRUE(document.elements_by_tag_name("Q").empty());
}

TEST(Reading, TheRootIsAmongTheElementsOfItsName) {
  EXPECT_EQ(loaded("<P><P/></P>").elements_by_tag_name("P").size(), 2u);
}

TEST(Reading, BelowANodeItselfIsNotCounted) {
  const Document document = loaded("<P><P>1</P><x><P>2</P></x></P>");
  EXPECT_EQ(values(document.document_element().elements_by_tag_name("P")), (Texts{"1", "2"}));
}

TEST(Reading, AnAttributeIsReadByItsExactName) {
  const Node root = loaded("<P key=\"a&amp;b &#65;&quot;\" empty=''/>").document_element();
  EXPECT_EQ(root.attribute("key"), "a&b A\"");
  EXPECT_EQ(root.attribute("empty"), "");
  EXPECT_EQ(root.attribute("Key"), std::nullopt);
  EXPECT_EQ(root.attribute(""), std::nullopt);
}

TEST(Reading, TheTypedValueIsAllTextBelowAndNotTrimmed) {
  const struct {
    const char* text;
    std::string value;
  } cases[] = {
      {"<a/>", ""},
      {"<a></a>", ""},
      {"<a> x </a>", " x "},
      {"<a>&lt;&amp;&#228;&#x20AC;</a>", "<&\xC3\xA4\xE2\x82\xAC"},
      {"<a>1<b>2<c>3</c></b>4</a>", "1234"},
      {"<a>1<!-- no -->2<?no no?>3</a>", "123"},
      {"<a>1<![CDATA[<2> ]]>3</a>", "1<2> 3"},
      {"<a>1\r\n2\r3\n</a>", "1\n2\n3\n"},
      {"<a>1&#13;2</a>", "1\r2"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(loaded(row.text).document_element().typed_value(), row.value) << row.text;
  }
}

TEST(Reading, ChildrenAreAllNodesButWhiteSpaceBetweenTags) {
  const Document document = loaded("<a>\n <b/> <!--c--> text <![CDATA[d]]><?e f?>\n</a>");
  const NodeList children = document.document_element().children();
  std::vector<std::pair<NodeType, std::string>> seen;
  for (const Node child : children) seen.emplace_back(child.type(), child.typed_value());
  EXPECT_EQ(seen, (std::vector<std::pair<NodeType, std::string>>{{NodeType::kElement, ""},
                                                                 {NodeType::kComment, "c"},
                                                                 {NodeType::kText, " text "},
                                                                 {NodeType::kCData, "d"},
                                                                 {NodeType::kProcessingInstruction, "f"}}));
  EXPECT_EQ(children.item(0).name(), "b");
  EXPECT_EQ(children.item(4).name(), "e");
}

TEST(Reading, AnElementHasChildrenWhenAnythingButWhiteSpaceIsInIt) {
  const Document document = loaded("<a><b/><b></b><b> \n </b><b x='1'/><b>t</b><b><!----></b><b><c/></b></a>");
  std::vector<bool> seen;
  for (const Node node : document.elements_by_tag_name("b")) {
    seen.push_back(node.has_children());
    EXPECT_EQ(node.has_children(), node.children().size() > 0);
  }
  EXPECT_EQ(seen, (std::vector<bool>{false, false, false, false, true, true, true}));
}

TEST(Reading, NodeTypesHaveTheCustomaryNumbers) {
  const Node root = loaded("<?xml version='1.0'?><!DOCTYPE a><a x='1'>t</a>").document_element();
  EXPECT_EQ(static_cast<int>(root.type()), 1);
  EXPECT_EQ(static_cast<int>(root.children().item(0).type()), 3);
  EXPECT_EQ(static_cast<int>(root.parent().type()), 9);
  EXPECT_EQ(root.parent().name(), "");
  EXPECT_EQ(static_cast<int>(root.parent().children().item(0).type()), 7);
  EXPECT_EQ(root.parent().children().item(0).attribute("version"), std::nullopt);
  EXPECT_EQ(static_cast<int>(root.parent().children().item(1).type()), 10);
}

TEST(Reading, ANullNodeRaisesObjectNotSetWhateverItIsAskedFor) {
  const Node null = loaded("<a/>").elements_by_tag_name("b").item(0);
  EXPECT_TRUE(null.is_null());
  const RaisedError expected{91, "Mercato", "Object variable or With block variable not set", {}, 0};
  EXPECT_EQ(failure_of([&] { null.type(); }), expected);
  EXPECT_EQ(failure_of([&] { null.name(); }), expected);
  EXPECT_EQ(failure_of([&] { null.attribute("a"); }), expected);
  EXPECT_EQ(failure_of([&] { null.typed_value(); }), expected);
  EXPECT_EQ(failure_of([&] { null.has_children(); }), expected);
  EXPECT_EQ(failure_of([&] { null.children(); }), expected);
  EXPECT_EQ(failure_of([&] { null.parent(); }), expected);
  EXPECT_EQ(failure_of([&] { null.elements_by_tag_name("a"); }), expected);
  EXPECT_EQ(failure_of([&] { null.remove(); }), expected);
}

TEST(Reading, AnEmptyDocumentHasNothingAndFailsNowhere) {
  const Document document;
  EXPECT_TRUE(document.document_element().is_null());
  EXPECT_TRUE(document.select("//P").empty());
  EXPECT_TRUE(document.select("//P[@k = 'v']").empty());
  EXPECT_TRUE(document.select_first("//P[@k='v']").is_null());
  EXPECT_EQ(document.save_text(), "");
}

TEST(Handles, NodesAndListsOutliveTheirDocument) {
  NodeList list;
  Node node;
  {
    const Document document = loaded("<a><P>1</P><P>2</P></a>");
    list = document.select("//P");
    node = document.document_element();
  }
  EXPECT_EQ(values(list), (Texts{"1", "2"}));
  EXPECT_EQ(node.typed_value(), "12");
}

TEST(Handles, NodesAndListsKeepTheirTreeWhenTheDocumentLoadsAnother) {
  Document document = loaded("<a><P>1</P></a>");
  const NodeList list = document.select("//P");
  ASSERT_TRUE(document.load_text("<a><P>x</P><P>y</P></a>"));
  EXPECT_EQ(values(list), (Texts{"1"}));
  EXPECT_EQ(values(document.select("//P")), (Texts{"x", "y"}));
}

TEST(Handles, ADocumentThatWasMovedFromIsEmpty) {
  Document document = loaded("<a/>");
  const Document other = std::move(document);
  EXPECT_FALSE(other.document_element().is_null());
  EXPECT_TRUE(document.document_element().is_null());  // NOLINT(bugprone-use-after-move)
}

TEST(Removing, ARemovedElementIsInNoLaterSelectionAndInNoSavedText) {
  const Document document = loaded("<a><P>1</P><P>2</P></a>");
  document.select_first("//P").remove();
  EXPECT_EQ(values(document.select("//P")), (Texts{"2"}));
  EXPECT_EQ(values(document.select("/a/P")), (Texts{"2"}));
  EXPECT_EQ(values(document.elements_by_tag_name("P")), (Texts{"2"}));
  EXPECT_EQ(values(document.document_element().children()), (Texts{"2"}));
  EXPECT_EQ(document.save_text(), "<a>\n  <P>2</P>\n</a>\n");
}

TEST(Removing, ListsMadeBeforeKeepTheRemovedElementReadable) {
  const Document document = loaded("<a><P k='1'><b>1</b></P><P>2</P></a>");
  const NodeList before = document.select("//P");
  before.item(0).remove();
  EXPECT_EQ(before.size(), 2u);
  EXPECT_EQ(values(before), (Texts{"1", "2"}));
  EXPECT_EQ(before.item(0).attribute("k"), "1");
  EXPECT_EQ(before.item(0).children().item(0).name(), "b");
}

TEST(Removing, ARemovedNodeHasNoParentAndCannotBeRemovedAgain) {
  const Document document = loaded("<a><P><b/></P></a>");
  const Node node = document.select_first("//P");
  node.remove();
  EXPECT_TRUE(node.parent().is_null());
  EXPECT_EQ(failure_of([&] { node.remove(); }).Number, 91);
  EXPECT_EQ(node.children().item(0).parent(), node);
}

TEST(Removing, ARemovedElementTakesItsDescendantsAlong) {
  const Document document = loaded("<a><P k='x'><P k='x'>in</P></P><P k='x'>out</P></a>");
  EXPECT_EQ(document.select("//P[@k = 'x']").size(), 3u);
  document.select_first("//P[@k = 'x']").remove();
  EXPECT_EQ(values(document.select("//P[@k = 'x']")), (Texts{"out"}));
  EXPECT_EQ(values(document.select("//P")), (Texts{"out"}));
}

TEST(Removing, WhatStandsInARemovedElementCanBeRemovedFromIt) {
  const Document document = loaded("<a><P k='x'><P k='x'>in</P></P></a>");
  const NodeList both = document.select("//P[@k = 'x']");
  both.item(0).remove();
  both.item(1).remove();
  EXPECT_FALSE(both.item(0).has_children());
  EXPECT_TRUE(both.item(1).parent().is_null());
  EXPECT_TRUE(document.select("//P[@k = 'x']").empty());
}

TEST(Removing, TextAndCommentsCanBeRemoved) {
  const Document document = loaded("<a>1<!--c-->2</a>");
  const NodeList children = document.document_element().children();
  children.item(1).remove();
  children.item(2).remove();
  EXPECT_EQ(document.save_text(), "<a>1</a>\n");
}

TEST(Removing, TheRootCanBeRemoved) {
  const Document document = loaded("<a><P k='v'/></a>");
  const Node root = document.document_element();
  const Node whole = root.parent();
  root.remove();
  EXPECT_TRUE(document.document_element().is_null());
  EXPECT_FALSE(whole.has_children());
  EXPECT_TRUE(whole.children().empty());
  EXPECT_TRUE(document.select("//P[@k = 'v']").empty());
  EXPECT_TRUE(document.select("//P[@k='v']").empty());
  EXPECT_EQ(document.save_text(), "");
}

TEST(Removing, AttributesAndDocumentsAreRefused) {
  const Document document = loaded("<a x='1'/>");
  const RaisedError expected{5, "Mercato", "Only a child node can be removed from a document", {}, 0};
  EXPECT_EQ(failure_of([&] { document.select_first("/a/@x").remove(); }), expected);
  EXPECT_EQ(failure_of([&] { document.document_element().parent().remove(); }), expected);
}

TEST(Saving, ASavedDocumentIsReadBackTheSame) {
  const char* const text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
      "<?style x?>\n"
      "<!DOCTYPE a SYSTEM \"a.dtd\">\n"
      "<!-- first -->\n"
      "<a k=\"&lt;&quot;'&amp;&#10;&#9;x\">\n"
      "  <b> &amp;&lt;&gt;&#13; \xC3\xA4 </b>\n"
      "  <c><![CDATA[<]]>]]&gt;<![CDATA[&]]></c>\n"
      "  <d>mixed <e><f/></e> text</d>\n"
      "  <g>&#32;\n</g>\n"
      "  <h>\n    <!-- inner -->\n    <i/>\n  </h>\n"
      "</a>\n"
      "<!-- last -->\n";
  const Document first = loaded(text);
  EXPECT_EQ(first.save_text(), text);
  const Document second = loaded(first.save_text());
  EXPECT_EQ(second.save_text(), text);
  const Node root = second.document_element();
  EXPECT_EQ(root.attribute("k"), "<\"'&\n\tx");
  EXPECT_EQ(root.typed_value(), " &<>\r \xC3\xA4 <]]>&mixed  text \n");
  EXPECT_EQ(root.parent().children().size(), 6u);
}

TEST(Saving, AnElementIsWrittenAsADocumentOfItsOwn) {
  const Document document = loaded("<a><P k='&quot;1'>x&amp;y<!-- c --><b/> </P><P>2</P></a>");
  const Node first = document.elements_by_tag_name("P").item(0);
  EXPECT_EQ(first.save_text(), "<P k=\"&quot;1\">x&amp;y<!-- c --><b/></P>\n");
  EXPECT_EQ(loaded(first.save_text()).document_element().attribute("k"), "\"1");
  EXPECT_EQ(document.document_element().save_text(), document.save_text());
  first.remove();
  EXPECT_EQ(first.save_text(), "<P k=\"&quot;1\">x&amp;y<!-- c --><b/></P>\n");
  EXPECT_EQ(failure_of([&] { first.children().item(0).save_text(); }).Number, 5);
  EXPECT_EQ(failure_of([] { Node().save_text(); }).Number, 91);
}

TEST(Saving, AFileIsWrittenInUtf8AndReplacesTheOldOne) {
  const TemporaryFolder folder;
  const std::string path = folder / "remaining_products_7.xml";
  files::write_file_atomically(path, "old");
  loaded("<a><P>\xC3\xA4</P></a>").save(path);
  EXPECT_EQ(files::read_file(path), "<a>\n  <P>\xC3\xA4</P>\n</a>\n");
  EXPECT_EQ(folder.entries(), 1u);
}

TEST(Saving, AMissingFolderIsPathNotFound) {
  const TemporaryFolder folder;
  const std::string path = folder / "missing/a.xml";
  EXPECT_EQ(failure_of([&] { loaded("<a/>").save(path); }),
            (RaisedError{76, "Mercato", "Cannot write the file \"" + path + "\": No such file or directory", {}, 0}));
}

TEST(Saving, AFailureInTheMiddleLeavesTheOldFileAndNothingElse) {
  const TemporaryFolder folder;
  const std::string path = folder / "a.xml";
  files::write_file_atomically(path, "old");
  std::string text = "<a>";
  for (int i = 0; i < 100'000; ++i) text += "<P>0123456789</P>";
  const Document document = loaded(text + "</a>");

  // Without the signal a write beyond the limit fails.
  rlimit before = {};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit small = {100'000, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const RaisedError failure = failure_of([&] { document.save(path); });
  ::setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);

  EXPECT_EQ(failure, (RaisedError{75, "Mercato", "Cannot write the file \"" + path + "\": File too large", {}, 0}));
  EXPECT_EQ(files::read_file(path), "old");
  EXPECT_EQ(folder.entries(), 1u);
}

TEST(Loading, AFileIsLoadedByItsPathInEitherForm) {
  const TemporaryFolder folder;
  files::write_file_atomically(folder / "a.xml", "<a>1</a>");
  Document document;
  EXPECT_TRUE(document.load(folder / "a.xml")) << document.error();
  EXPECT_TRUE(document.load(folder.path() + "\\a.xml")) << document.error();
  EXPECT_TRUE(document.load("file://" + (folder / "a.xml"))) << document.error();
  EXPECT_EQ(document.document_element().typed_value(), "1");
}

TEST(Loading, AMissingFileIsNotLoadableAndEmptiesTheDocument) {
  const TemporaryFolder folder;
  Document document = loaded("<a/>");
  EXPECT_FALSE(document.load(folder / "none.xml"));
  EXPECT_EQ(document.error(), "Cannot read the file \"" + (folder / "none.xml") + "\": No such file or directory.");
  EXPECT_TRUE(document.document_element().is_null());
}

TEST(Loading, AnEmptyFileIsNotLoadable) {
  const TemporaryFolder folder;
  files::write_file_atomically(folder / "empty.xml", "");
  Document document;
  EXPECT_FALSE(document.load(folder / "empty.xml"));
  EXPECT_EQ(document.error(), "The document \"" + (folder / "empty.xml") +
                                  "\" cannot be loaded: Line 1, column 1: the document is empty.");
}

TEST(Loading, AUrlIsFetched) {
  const LocalServer server([](const std::string& path) {
    if (path == "/a.xml") return LocalServer::page("200 OK", "<a>1</a>");
    if (path == "/page") return LocalServer::page("200 OK", "not XML");
    if (path == "/round") return LocalServer::page("302 Found", "", "Location: /round\r\n");
    if (path == "/silent") return std::string();
    return LocalServer::page("500 Internal Server Error", "<a/>");
  });
  Limits limits;
  limits.fetch_seconds = 1;
  Document document(limits);
  EXPECT_TRUE(document.load(server.url("/a.xml"))) << document.error();
  EXPECT_EQ(document.document_element().typed_value(), "1");

  EXPECT_FALSE(document.load(server.url("/page")));
  EXPECT_EQ(document.error(),
            "The document of the URL cannot be loaded: Line 1, column 1: text stands outside the root element.");
  EXPECT_FALSE(document.load(server.url("/round")));
  EXPECT_EQ(document.error(), "Cannot fetch \"" + server.url("/round") + "\": the server redirects more than 5 times.");
  EXPECT_FALSE(document.load(server.url("/error")));
  EXPECT_EQ(document.error(), "Cannot fetch \"" + server.url("/error") + "\": the server answered with status 500.");
  EXPECT_FALSE(document.load(server.url("/silent")));
  EXPECT_EQ(document.error(), "Cannot fetch \"" + server.url("/silent") + "\": no complete answer within 1 seconds.");
}

TEST(Lines, OfElementsAreToldWhereTheyWereAsked) {
  Limits limits;
  limits.keeps_lines = true;
  Document document(limits);
  ASSERT_TRUE(document.load_text("<a>\r\n<P>1&amp;\n2</P><P/>\n\n<b>\n<P\n x='1'/></b></a>"));
  std::vector<std::size_t> lines;
  for (const Node& element : document.elements_by_tag_name("P")) lines.push_back(element.line());
  EXPECT_EQ(lines, (std::vector<std::size_t>{2, 3, 6}));
  document.elements_by_tag_name("P").item(0).remove();
  EXPECT_EQ(document.elements_by_tag_name("P").item(1).line(), 6u);
  EXPECT_EQ(loaded("<a>\n<P/></a>").elements_by_tag_name("P").item(0).line(), 0u);
}

TEST(Loading, ASchemeThatIsNotFetchedIsRefused) {
  Document document;
  EXPECT_FALSE(document.load("ftp://127.0.0.1/a.xml"));
  EXPECT_EQ(document.error(), "Cannot fetch \"ftp://127.0.0.1/a.xml\": only http, https and file are fetched.");
}

}  // namespace
}  // namespace mercato::xml
