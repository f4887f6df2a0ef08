// SPDX-License-Identifier: Apache-2.0
// Many products at once, what hangs on one, and the products of categories.
#include <filesystem>
#include <fstream>

#include "keeping/category_members.h"
#include "keeping/product_choice.h"
#include "keeping/product_keeping.h"
#include "keeping/property_keeping.h"
#include "mercato/object_context.h"
#include "tests/keeping/keeping_fixture.h"

namespace mercato::test {
namespace {

class KeptProducts : public KeepingTest {};

TEST_F(KeptProducts, AreChosenByAllThatIsSaid) {
  keeping::ProductChoice choice;
  EXPECT_EQ(keeping::chosen_products(choice), (Ids{1, 2, 3}));
  choice.supplier = 1;
  EXPECT_EQ(keeping::chosen_products(choice), (Ids{1, 3}));
  choice.category = 2;
  EXPECT_EQ(keeping::chosen_products(choice), (Ids{3}));
  choice = {};
  choice.part_number = "p-*";
  EXPECT_EQ(keeping::chosen_products(choice), (Ids{1, 2}));
  choice.among = Ids{3, 2};
  EXPECT_EQ(keeping::chosen_products(choice), (Ids{2}));
  choice.part_number = "P_1";
  EXPECT_EQ(keeping::chosen_products(choice), Ids());
}

TEST_F(KeptProducts, AreHiddenAndShownManyAtOnce) {
  std::size_t told = 0;
  kept([&] { return keeping::set_disabled(Ids{1, 3}, true, [&] { ++told; }), 0; });
  EXPECT_EQ(told, 2U);
  keeping::ProductChoice choice;
  choice.disabled = true;
  EXPECT_EQ(keeping::chosen_products(choice), (Ids{1, 3}));
  choice.disabled = false;
  EXPECT_EQ(keeping::chosen_products(choice), (Ids{2}));
  kept([&] { return keeping::set_disabled(Ids{3}, false, [] {}), 0; });
  EXPECT_EQ(keeping::chosen_products(choice), (Ids{2, 3}));
}

TEST_F(KeptProducts, OfAListAreFoundByLineAndFaultsAreTold) {
  const keeping::ListedProducts listed =
      keeping::products_listed(connection_string(), "P-1\r\n\n  t-3 \nP-1\nX\nid:2\n");
  EXPECT_EQ(listed.ids, (Ids{1, 3, 2}));
  ASSERT_EQ(listed.faults.size(), 1U);
  EXPECT_EQ(listed.faults[0].line, 5U);
  EXPECT_EQ(listed.faults[0].words, "There is no product X");
}

TEST_F(KeptProducts, HaveAlternativesOnce) {
  EXPECT_TRUE(kept([] { return keeping::add_alternative(1, 2); }));
  EXPECT_FALSE(kept([] { return keeping::add_alternative(1, 2); }));
  ASSERT_EQ(keeping::alternatives_of(1).size(), 1U);
  EXPECT_EQ(keeping::alternatives_of(1)[0].part_number, "P-2");
  EXPECT_TRUE(keeping::alternatives_of(2).empty());
  EXPECT_EQ(kept([] { return keeping::remove_alternative(1, 2); }), 1U);
  EXPECT_EQ(kept([] { return keeping::remove_alternative(1, 2); }), 0U);
}

TEST_F(KeptProducts, HaveFilesInTheFolderThatGoesWithThem) {
  std::ofstream(folder() / "safety.pdf") << "%PDF";
  EXPECT_EQ(kept([&] { return keeping::attach_file(1, (folder() / "safety.pdf").string()); }), "safety.pdf");
  const std::filesystem::path copy = folder() / "web/mercato/ProductAttachments/1/safety.pdf";
  EXPECT_TRUE(std::filesystem::exists(copy));
  ASSERT_EQ(keeping::attached_files(1).size(), 1U);
  EXPECT_EQ(keeping::attached_files(1)[0].bytes, 4U);
  std::ofstream(folder() / "safety.pdf") << "%PDF-2";
  kept([&] { return keeping::attach_file(1, (folder() / "safety.pdf").string()); });
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM ATTACHEDFILE").to_long(), 1);
  EXPECT_EQ(keeping::attached_files(1)[0].bytes, 6U);
  EXPECT_TRUE(kept([] { return keeping::detach_file(1, "safety.pdf"); }));
  keeping::drop_attached_file(1, "safety.pdf");
  EXPECT_FALSE(std::filesystem::exists(copy));
  EXPECT_FALSE(kept([] { return keeping::detach_file(1, "safety.pdf"); }));
  keeping::drop_attached_file(1, "../../../../safety.pdf");
  EXPECT_TRUE(std::filesystem::exists(folder() / "safety.pdf"));
}

TEST_F(KeptProducts, GoToTheEndOfTheirCategory) {
  EXPECT_EQ(kept([] { return keeping::add_to_category(1, Ids{2, 3}); }), 1U);
  EXPECT_EQ(rows("SELECT PRODUCTID, SEQUENCE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID = 1 ORDER BY SEQUENCE"),
            (Table{{1, 1}, {2, 7}, {3, 8}}));
  EXPECT_EQ(kept([] { return keeping::remove_from_category(1, Ids{1, 3, 99}); }), 2U);
  EXPECT_EQ(keeping::count_products_of(1), 1U);
}

TEST_F(KeptProducts, OfACodeAreCountedBeforeACategoryIsMade) {
  EXPECT_FALSE(keeping::linked_by_code("14111500"));
  auto settings = *collaborators::settings();
  settings.parameters["COMMONPARAMETERS"]["UNSPSCIMPLEMENTED"] = "Yes";
  collaborators::set_settings(settings);
  const auto linked = keeping::linked_by_code("14111500");
  ASSERT_TRUE(linked);
  EXPECT_EQ(linked->products, 1U);
  EXPECT_EQ(linked->shorter_code, "141115");
  EXPECT_EQ(linked->products_of_shorter, 2U);
  EXPECT_EQ(keeping::linked_by_code("1411")->products, 2U);
  EXPECT_EQ(keeping::linked_by_code("14%")->products, 0U);
}

TEST_F(KeptProducts, LoseTheValuesThatAPlanOfTheirGroupNames) {
  execute({"INSERT INTO PROPERTYGROUP (PROPERTYGROUPNAME) VALUES (N'pens')",
           "INSERT INTO PROPERTY (PROPERTYNAME, DATATYPE) VALUES (N'TIP', 1), (N'COLOUR', 3)",
           "INSERT INTO PROPERTY (PROPERTYNAME, DATATYPE, \"EXTERNAL\") VALUES (N'CODE', 1, 1)",
           "INSERT INTO PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID) VALUES (1, 1), (1, 2)",
           "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (2, 1, N'red'), (3, 1, N'x'), "
           "(2, 2, N'red'), (77, 2, N'gone'), (2, 3, N'red')",
           "UPDATE PRODUCT SET PROPERTYGROUPID = 1 WHERE PRODUCTID < 3"});
  EXPECT_TRUE(kept([] { return keeping::remove_from_group(1, 2); }));
  EXPECT_FALSE(kept([] { return keeping::remove_from_group(1, 2); }));
  const keeping::GroupAlignment plan = keeping::plan_alignment(1);
  EXPECT_EQ(plan.products, 2U);
  EXPECT_EQ(plan.removed, 3U);
  EXPECT_EQ(plan.added, 2U);
  ASSERT_EQ(plan.losses.size(), 2U);
  EXPECT_EQ(plan.losses[0].name, "COLOUR");
  EXPECT_EQ(plan.losses[0].values, 2U);
  EXPECT_EQ(plan.losses[1].property, 77);
  // The plan is what the library's call does.
  std::vector<Variant> arguments = {1, -1};
  invoke(create_root("Mercato.PropertyGroup"), "UpdateGroupChange", arguments);
  EXPECT_EQ(rows("SELECT PRODUCTID, PROPERTYID FROM PRODUCTPROPVALUE ORDER BY PRODUCTID, PROPERTYID"),
            (Table{{1, 1}, {1, 3}, {2, 1}, {3, 2}}));
  EXPECT_EQ(keeping::plan_alignment(1).removed, 0U);
}

TEST_F(KeptProducts, ChooseAmongWhatTheirPropertyOffers) {
  execute({"INSERT INTO PROPERTY (PROPERTYNAME, DATATYPE) VALUES (N'COLOUR', 3)",
           "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 1, N'red'), (1, 2, N'Red')"});
  EXPECT_TRUE(kept([] { return keeping::add_choice(1, "red"); }));
  EXPECT_TRUE(kept([] { return keeping::add_choice(1, "o'range"); }));
  EXPECT_FALSE(kept([] { return keeping::add_choice(1, "RED"); }));
  EXPECT_EQ(keeping::choices_of(1), (std::vector<std::string>{"red", "o'range"}));
  EXPECT_EQ(keeping::count_values(1, "red"), 2U);
  EXPECT_TRUE(kept([] { return keeping::remove_choice(1, "red"); }));
  EXPECT_FALSE(kept([] { return keeping::remove_choice(1, "red"); }));
  EXPECT_TRUE(kept([] { return keeping::add_choice(1, "blue"); }));
  EXPECT_EQ(rows("SELECT SEQUENCEID, VALUE FROM PROPERTYENUM ORDER BY SEQUENCEID"),
            (Table{{2, "o'range"}, {3, "blue"}}));
}

}  // namespace
}  // namespace mercato::test
