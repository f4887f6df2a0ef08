// SPDX-License-Identifier: Apache-2.0
#include "tests/upload/upload_fixture.h"

namespace mercato::test {
namespace {

class ProductProperties : public UploadTest {
 protected:
  void insert(const std::string& fields) {
    upload.insertProductFromXML(document(record("A-1", kRequired + fields)), false, "A-1", true);
  }
  void update(const std::string& fields) {
    upload.updateProductFromXML(document(record("A-1", fields)), false, "A-1", true);
  }
  void add_property(const std::string& name, int type) const {
    execute({"INSERT PROPERTY (PROPERTYNAME, DATATYPE) VALUES ('" + name + "', " + std::to_string(type) + ")"});
  }

  ProductXML upload;
};

// The statements behind the row of PRODUCT.
Statements behind_product(const Statements& statements) {
  const std::string first = "SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'";
  return {std::find(statements.begin(), statements.end(), first), statements.end()};
}

TEST_F(ProductProperties, UnknownNameBecomesAnExternalTextPropertyInCapitals) {
  Recorder recorder;
  insert("<Colour>red</Colour>");
  const auto properties = rows("SELECT PROPERTYNAME, DATATYPE, \"EXTERNAL\" FROM PROPERTY");
  ASSERT_EQ(properties.size(), 1u);
  EXPECT_EQ(properties[0][0].to_text(), "COLOUR");
  EXPECT_EQ(properties[0][1].to_long(), 1);
  EXPECT_TRUE(properties[0][2].to_boolean());
  EXPECT_EQ(property("COLOUR").to_text(), "red");
  EXPECT_EQ(
      behind_product(recorder.statements),
      (Statements{"SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'",
                  "SELECT PROPERTY.PROPERTYID, PROPERTY.DATATYPE FROM PROPERTY WHERE PROPERTY.PROPERTYNAME = 'COLOUR'",
                  "SELECT * FROM PROPERTY WHERE 0=1",
                  "INSERT PRODUCTPROPVALUE (\"PROPERTYID\", \"PRODUCTID\", \"VALUE\") VALUES (1 ,1 ,'red')"}));
}

TEST_F(ProductProperties, KnownPropertyOfANewProductIsInsertedWithoutBlanks) {
  add_property("COLOUR", 1);
  Recorder recorder;
  insert("<Colour>red</Colour>");
  EXPECT_EQ(
      behind_product(recorder.statements),
      (Statements{"SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'",
                  "SELECT PROPERTY.PROPERTYID, PROPERTY.DATATYPE FROM PROPERTY WHERE PROPERTY.PROPERTYNAME = 'COLOUR'",
                  "INSERT PRODUCTPROPVALUE (\"PROPERTYID\", \"PRODUCTID\", \"VALUE\") VALUES(1,1,'red')"}));
}

TEST_F(ProductProperties, UpdateReplacesAValueAddsAMissingOneAndCreatesAnUnknownProperty) {
  insert("<A>old</A>");
  add_property("B", 1);
  Recorder recorder;
  update("<A>new</A><B>b</B><C>c</C>");
  EXPECT_EQ(
      recorder.statements,
      (Statements{"SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'",
                  "SELECT PROPERTY.PROPERTYID, VALUE, EXTERNAL , DATATYPE FROM PRODUCTPROPVALUE INNER JOIN PROPERTY ON "
                  "PRODUCTPROPVALUE.PROPERTYID = PROPERTY.PROPERTYID WHERE (PRODUCTPROPVALUE.PRODUCTID = 1) AND "
                  "(PROPERTY.PROPERTYNAME = 'A')",
                  "UPDATE PRODUCTPROPVALUE SET VALUE = 'new' WHERE PROPERTYID=1 AND PRODUCTID=1",
                  "SELECT PROPERTY.PROPERTYID, VALUE, EXTERNAL , DATATYPE FROM PRODUCTPROPVALUE INNER JOIN PROPERTY ON "
                  "PRODUCTPROPVALUE.PROPERTYID = PROPERTY.PROPERTYID WHERE (PRODUCTPROPVALUE.PRODUCTID = 1) AND "
                  "(PROPERTY.PROPERTYNAME = 'B')",
                  "SELECT PROPERTY.PROPERTYID, PROPERTY.DATATYPE FROM PROPERTY WHERE PROPERTY.PROPERTYNAME = 'B'",
                  "INSERT PRODUCTPROPVALUE (\"PROPERTYID\", \"PRODUCTID\", \"VALUE\") VALUES (2 ,1 ,'b')",
                  "SELECT PROPERTY.PROPERTYID, VALUE, EXTERNAL , DATATYPE FROM PRODUCTPROPVALUE INNER JOIN PROPERTY ON "
                  "PRODUCTPROPVALUE.PROPERTYID = PROPERTY.PROPERTYID WHERE (PRODUCTPROPVALUE.PRODUCTID = 1) AND "
                  "(PROPERTY.PROPERTYNAME = 'C')",
                  "SELECT PROPERTY.PROPERTYID, PROPERTY.DATATYPE FROM PROPERTY WHERE PROPERTY.PROPERTYNAME = 'C'",
                  "SELECT * FROM PROPERTY WHERE 0=1",
                  "INSERT PRODUCTPROPVALUE (\"PROPERTYID\", \"PRODUCTID\", \"VALUE\") VALUES (3 ,1 ,'c')"}));
  EXPECT_EQ(property("A").to_text(), "new");
  EXPECT_EQ(property("B").to_text(), "b");
  EXPECT_EQ(property("C").to_text(), "c");
}

TEST_F(ProductProperties, TwoRecordsWithOneNewNameShareOneProperty) {
  Array part_numbers{"A-1", "B-2"};
  upload.insertProductsFromXML("k/\\" + fixture("new-property-in-two-records"), false, part_numbers, false);
  EXPECT_EQ(value_of("SELECT COUNT(*) FROM PROPERTY").to_long(), 1);
  EXPECT_EQ(property("COLOUR").to_text(), "red");
  EXPECT_EQ(property("COLOUR", "B-2").to_text(), "blue");
}

TEST_F(ProductProperties, ValueThatDoesNotFitItsTypeIsStoredAsAnEmptyText) {
  add_property("WEIGHT", 2);
  add_property("SINCE", 4);
  add_property("GRADE", 3);
  add_property("ODD", 9);
  const std::string bad = "<WEIGHT>abc</WEIGHT><SINCE>soon</SINCE><GRADE>abc</GRADE><ODD>abc</ODD>";
  insert(bad);
  const auto expect_bad_values = [&] {
    EXPECT_EQ(property("WEIGHT").to_text(), "");
    EXPECT_EQ(property("SINCE").to_text(), "");
    EXPECT_EQ(property("GRADE").to_text(), "abc");
    EXPECT_EQ(property("ODD").to_text(), "");
  };
  expect_bad_values();
  update("<WEIGHT>1.5</WEIGHT><SINCE>7/1/2026</SINCE><GRADE>def</GRADE>");
  EXPECT_EQ(property("WEIGHT").to_text(), "1.5");
  EXPECT_EQ(property("SINCE").to_text(), "7/1/2026");
  EXPECT_EQ(property("GRADE").to_text(), "def");
  update(bad);
  expect_bad_values();
}

TEST_F(ProductProperties, EmptyElementGivesAnEmptyValueAndDeletesNone) {
  insert("<COLOUR/>");
  EXPECT_EQ(property("COLOUR").to_text(), "");
  update("<COLOUR>red</COLOUR>");
  update("<COLOUR/>");
  EXPECT_EQ(property("COLOUR").to_text(), "");
}

TEST_F(ProductProperties, UpdateLeavesPropertiesThatTheRecordDoesNotName) {
  insert("<A>a</A><B>b</B>");
  update("<A>new</A>");
  EXPECT_EQ(property("B").to_text(), "b");
}

TEST_F(ProductProperties, SeparatorAloneReadsTheProductIdAndNothingElse) {
  add_product();
  Recorder recorder;
  update("<MultipleBuyerSeparator>/</MultipleBuyerSeparator>");
  EXPECT_EQ(recorder.statements, (Statements{"SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='A-1'"}));
}

TEST_F(ProductProperties, ApostropheInAValueEndsTheRunAndKeepsWhatWasWritten) {
  Recorder recorder;
  const RaisedError error = raised_by([&] { insert("<A>a</A><B>it's</B><C>c</C>"); });
  EXPECT_EQ(error.Number, error_number::kStatementRefused);
  EXPECT_EQ(recorder.statements.back(),
            "INSERT PRODUCTPROPVALUE (\"PROPERTYID\", \"PRODUCTID\", \"VALUE\") VALUES (2 ,1 ,'it's')");
  const FailureTrail expected =
      trail({error_number::kStatementRefused, store().failure_source(),
             "Unclosed quotation mark after the character string ')' (character 81)", "", 0},
            {"Mercato.ProductXML.insertProductProperties", "Mercato.ProductXML.updateInsertProductFromXML",
             "Mercato.ProductXML.insertProductFromXML"});
  EXPECT_EQ(error.Description, expected.raised.Description);
  EXPECT_EQ(recorder.log, expected.log);
  EXPECT_EQ(property("A").to_text(), "a");
  EXPECT_TRUE(property("B").is_missing());
  EXPECT_TRUE(property("C").is_missing());

  const RaisedError update_error = raised_by([&] { update("<A>it's</A>"); });
  EXPECT_EQ(
      update_error.Description,
      trail({error_number::kStatementRefused, store().failure_source(),
             "Unclosed quotation mark after the character string ' WHERE PROPERTYID=1 AND PRODUCTID=1' (character 42)",
             "", 0},
            {"Mercato.ProductXML.updateProductProperties", "Mercato.ProductXML.updateInsertProductFromXML",
             "Mercato.ProductXML.updateProductFromXML"})
          .raised.Description);
  EXPECT_EQ(property("A").to_text(), "a");
}

TEST_F(ProductProperties, InsertDoesNotLookForAValueThatIsThereAlready) {
  add_property("A", 1);
  execute({"INSERT PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 1, 'left over')"});
  EXPECT_EQ(raised_by([&] { insert("<A>a</A>"); }).Number, error_number::kConstraintViolated);
  EXPECT_EQ(property("A").to_text(), "left over");
}

TEST_F(ProductProperties, DoubledApostropheInAValueIsStoredAsOne) {
  insert("<A>it''s</A>");
  EXPECT_EQ(property("A").to_text(), "it's");
}

}  // namespace
}  // namespace mercato::test
