// SPDX-License-Identifier: Apache-2.0
// No text that a caller passes to the property classes can change what a statement does: the store holds the same rows
// as before, or exactly the row that the call names, with exactly that text.
#include <gtest/gtest.h>

#include <functional>

#include "mercato/property.h"
#include "mercato/property_group.h"
#include "mercato/r_property_group.h"
#include "tests/classification/property_fixture.h"
#include "tests/support/hostile_texts.h"
#include "values/text.h"

namespace mercato::test {
namespace {

class PropertyHostileText : public PropertyStoreTest {
 protected:
  void SetUp() override {
    PropertyStoreTest::SetUp();
    add_property(1, "colour", 3, "'red'");
    add_property(2, "size");
    add_enum(1, 1, "'red'");
    add_group(1, "group", {1});
    add_product(1, 1);
    add_value(1, 1, "red");
  }

  // Whether a text can stand in a store at all.
  static bool is_storable(const std::string& text) {
    return text.find('\0') == std::string::npos && text::is_valid(text);
  }
  template <class Work>
  static void for_each_text(Work work) {
    for (const std::string& text : hostile_texts()) {
      SCOPED_TRACE(text.substr(0, 40));
      work(text);
    }
  }
  // Runs the call with every text. One that returns has written a row in which `written` finds the text, and `undo`
  // takes that row away or gives it its old text back; one that raises has changed nothing.
  void expect_one_row_or_none(const std::function<void(const std::string&)>& call, const std::string& written,
                              const std::string& undo) {
    const auto before = all_rows();
    int texts_written = 0;
    for_each_text([&](const std::string& text) {
      bool refused = false;
      try {
        call(text);
      } catch (const Raised& failure) {
        refused = true;
        EXPECT_TRUE(!is_storable(text) || failure.error().Number == error_number::kValueTooLong)
            << failure.error().Description.substr(0, 400);
      }
      if (!refused) {
        ++texts_written;
        EXPECT_EQ(rows(written), (Rows{{text}}));
        execute({undo});
      }
      ASSERT_EQ(all_rows(), before);
    });
    EXPECT_GT(texts_written, 20);
  }
  // Runs the call with every text: whatever comes of it, no row changes.
  void expect_no_change(const std::function<void(const std::string&)>& call) {
    const auto before = all_rows();
    for_each_text([&](const std::string& text) {
      try {
        call(text);
      } catch (const Raised&) {
        // A refused text does no harm either.
      }
    });
    EXPECT_EQ(all_rows(), before);
  }

  Root<Property> property_;
  Root<PropertyGroup> group_;
  Root<RPropertyGroup> groups_;
};

TEST_F(PropertyHostileText, AsANewNameIsTheNameOfOneNewRow) {
  const std::string written = "SELECT PROPERTYNAME FROM PROPERTY WHERE PROPERTYID > 2";
  const std::string undo = "DELETE FROM PROPERTY WHERE PROPERTYID > 2";
  std::int16_t type = 1;
  std::string default_value;
  bool external = false;
  expect_one_row_or_none([&](std::string name) { property_->Insert(name, type); }, written, undo);
  expect_one_row_or_none([&](std::string name) { property_->Insert21(name, type, default_value, external); }, written,
                         undo);
  expect_one_row_or_none([&](const std::string& name) { property_->Insert20(Array{"PROPERTYNAME"}, Array{name}); },
                         written, undo);
  expect_one_row_or_none([&](std::string name) { group_->Insert(name); },
                         "SELECT PROPERTYGROUPNAME FROM PROPERTYGROUP WHERE PROPERTYGROUPID > 1",
                         "DELETE FROM PROPERTYGROUP WHERE PROPERTYGROUPID > 1");
}

TEST_F(PropertyHostileText, AsADefaultIsTheDefaultOfOneNewRow) {
  std::string name = "new";
  std::int16_t type = 1;
  bool external = false;
  expect_one_row_or_none([&](std::string text) { property_->Insert21(name, type, text, external); },
                         "SELECT DEFAULTVALUE FROM PROPERTY WHERE PROPERTYID > 2",
                         "DELETE FROM PROPERTY WHERE PROPERTYID > 2");
}

TEST_F(PropertyHostileText, AsAChangedNameIsTheNameOfThatRow) {
  const std::string written = "SELECT PROPERTYNAME FROM PROPERTY WHERE PROPERTYID = 1";
  const std::string undo = "UPDATE PROPERTY SET PROPERTYNAME = 'colour' WHERE PROPERTYID = 1";
  std::int32_t id = 1;
  std::int16_t type = 3;
  expect_one_row_or_none([&](std::string name) { property_->Update(id, name, type); }, written, undo);
  expect_one_row_or_none([&](const std::string& name) { property_->Update20(1, Array{"PROPERTYNAME"}, Array{name}); },
                         written, undo);
}

TEST_F(PropertyHostileText, AsAFieldIsNoColumn) {
  const auto before = all_rows();
  for_each_text([&](const std::string& text) {
    EXPECT_EQ(raised_by([&] {
                property_->Insert20(Array{"PROPERTYNAME", text}, Array{"x", "x"});
              }).Number,
              error_number::kNoSuchField);
    EXPECT_EQ(raised_by([&] {
                property_->Update20(1, Array{"PROPERTYNAME", text}, Array{"x", "x"});
              }).Number,
              error_number::kNoSuchField);
  });
  EXPECT_EQ(all_rows(), before);
}

TEST_F(PropertyHostileText, InPlaceOfANumberIsNone) {
  const auto before = all_rows();
  for_each_text([&](const std::string& text) {
    for (const char* field : {"DATATYPE", "EXTERNAL"}) {
      EXPECT_EQ(raised_by([&] {
                  property_->Insert20(Array{"PROPERTYNAME", field}, Array{"x", text});
                }).Number,
                error_number::kTypeMismatch);
      EXPECT_EQ(raised_by([&] { property_->Update20(1, Array{field}, Array{text}); }).Number,
                error_number::kTypeMismatch);
    }
  });
  EXPECT_EQ(all_rows(), before);
}

TEST_F(PropertyHostileText, AsANameToLookForIsOneLiteralThatFindsNothing) {
  const auto before = all_rows();
  for_each_text([&](const std::string& text) {
    try {
      EXPECT_EQ(property_->GetPropertyIDFromName(text), 0);
    } catch (const Raised& failure) {
      EXPECT_EQ(failure.error().Number, error_number::kStatementRefused);
      EXPECT_FALSE(is_storable(text));
    }
  });
  EXPECT_EQ(all_rows(), before);
}

TEST_F(PropertyHostileText, AsAKeyOfARowThatMightExistIsRefusedByTheStore) {
  const auto exists = [&](const Array& fields, const Array& values) {
    return invoke(property_.object(), "IReferentialIntegrity_Exists", {Variant(), fields, values}).to_boolean();
  };
  const auto before = all_rows();
  for_each_text([&](const std::string& text) {
    EXPECT_FALSE(exists(Array{text}, Array{1})) << "no name of the key";
    if (text == "''") return;  // one whole literal is no harm
    EXPECT_EQ(raised_by([&] { exists(Array{"PROPERTYID"}, Array{text}); }).Number, error_number::kStatementRefused);
  });
  EXPECT_EQ(all_rows(), before);
}

TEST_F(PropertyHostileText, InAListChangesNoRowAndShowsNoneButThoseOfTheList) {
  const auto list_of = [&](const std::string& prog_id, const Variant& ids, const std::string& sort_fields,
                           const std::string& state) {
    const ComponentPtr lists = prog_id == "Mercato.Property" ? ComponentPtr(property_.object()) : groups_.object();
    const std::string method = prog_id == "Mercato.Property" ? "GetPropertyData" : "GetPropertyGroupData";
    return invoke(lists, method, {Variant(), state, 10, ids, sort_fields}).to<Component>();
  };
  for (const std::string prog_id : {"Mercato.Property", "Mercato.RPropertyGroup"}) {
    expect_no_change([&](const std::string& text) { list_of(prog_id, kMissing, text, ""); });
    expect_no_change([&](const std::string& text) { list_of(prog_id, kMissing, "", text); });
    expect_no_change([&](const std::string& text) {
      const ComponentPtr rows = list_of(prog_id, Array{text}, "", "");
      // A query in brackets is a clause; nothing else than a number and that one is taken.
      EXPECT_TRUE(text == "''" || text == "(SELECT MAX(PRODUCTID) FROM PRODUCT)") << text.substr(0, 40);
      EXPECT_LE(invoke(rows, "RowCount", {}).to_long(), 1);
    });
  }
}

TEST_F(PropertyHostileText, InRetiredCallsIsNotLookedAt) {
  const auto before = all_rows();
  for_each_text([&](const std::string& text) {
    for (const char* method : {"DeleteUserProperties", "DeleteOfficeProperties"})
      EXPECT_EQ(raised_by([&] { invoke(property_.object(), method, {text}); }).Number, -1);
    EXPECT_EQ(raised_by([&] {
                invoke(group_.object(), "GetPropertyGroupData", {Variant(), text, 10, Array{text}, text});
              }).Number,
              -1);
  });
  EXPECT_EQ(invoke(property_.object(), "IReferentialIntegrity_BeforeDelete",
                   {Variant(), Array{hostile_texts()[0]}, Array{hostile_texts()[0]}}),
            Variant(true));
  EXPECT_EQ(all_rows(), before);
}

// A default that is in the store comes back in a statement.
TEST_F(PropertyHostileText, AsADefaultReachesTheValuesOfProductsAsItIs) {
  std::string name = "new";
  std::int16_t type = 1;
  bool external = false;
  std::int32_t group = 1;
  std::int32_t product = 1;
  int texts_written = 0;
  for_each_text([&](std::string text) {
    std::int32_t property = 0;
    try {
      property = property_->Insert21(name, type, text, external);
    } catch (const Raised&) {
      return;  // shown above
    }
    bool mandatory = false;
    group_->AddPropertyToPropertyGroup(group, property, mandatory);
    auto expected = all_rows();
    expected["PRODUCTPROPVALUE"].push_back({property, 1, text});
    ++texts_written;
    EXPECT_TRUE(group_->UpdateGroupChange(group, product));
    EXPECT_EQ(all_rows(), expected);
  });
  EXPECT_GT(texts_written, 20);
}

}  // namespace
}  // namespace mercato::test
