// SPDX-License-Identifier: Apache-2.0
// A store with two products, and uploads to it that a test writes as statements: what a journal keeps does not depend on
// who writes.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "exchange/journal/journal.h"
#include "exchange/journal/undo.h"
#include "tests/support/store_fixture.h"

namespace mercato::test {

class JournalTest : public StoreTest {
 protected:
  using Kind = exchange::Reach::Kind;
  using Left = std::vector<std::string>;

  void SetUp() override {
    StoreTest::SetUp();
    execute({
        "INSERT INTO UNIT (UNITCODE) VALUES ('EA')",
        "INSERT INTO UNIT (UNITCODE) VALUES ('BX')",
        "INSERT INTO PROPERTY (PROPERTYNAME, DATATYPE, \"EXTERNAL\") VALUES ('COLOUR', 1, 1)",
        "INSERT INTO PRODUCT (BUYFROMPARTNUMBER, PARTNUMBER, PRODUCTDESCRIPTION, UNITCODE, DATEUPDATED) VALUES "
        "('P-1', 'M-1', 'Paper', 'EA', '2026-01-05T10:11:12')",
        "INSERT INTO PRODUCT (BUYFROMPARTNUMBER, PARTNUMBER, PRODUCTDESCRIPTION, UNITCODE, MINORDERQTY) VALUES "
        "('P-2', 'M-2', 'Ink \"deep\" blue', 'EA', 2.5)",
        "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 1, 'white')",
        "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 2, 'blue')",
        "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY, CURRENCYCODE, "
        "PRICEEXPIRYDATE, PRICE, DISCOUNTPERC) VALUES (1, '2026-01-01', 999, NULL, NULL, '2026-12-31', 12.3456, 0.1)",
    });
  }

  // What the tables of products hold.
  std::map<std::string, std::vector<std::vector<Variant>>> contents() const {
    std::map<std::string, std::vector<std::vector<Variant>>> tables;
    for (const exchange::JournaledTable& table : exchange::journaled_tables())
      tables[std::string(table.name)] = sorted_rows("SELECT * FROM " + std::string(table.name));
    return tables;
  }

  // One upload of one part, which writes so. Its number.
  std::int32_t upload(std::initializer_list<std::string> writes, Kind kind = Kind::products,
                      const std::vector<std::string>& keys = {"P-1", "P-2", "P-3"}) {
    exchange::Journal journal(connection_string(), {"products", "ann", "f.xml", "ab12", {}});
    journal.before(kind, keys);
    execute(writes);
    journal.after();
    exchange::UploadResult outcome;
    outcome.counts.inserted = journal.rows_inserted();
    outcome.counts.updated = journal.rows_updated();
    outcome.counts.read = 3;
    journal.end(outcome, {});
    return journal.id();
  }
  exchange::Undone undo(std::int32_t id, bool force = false, bool trial = false) const {
    return exchange::undo_upload(connection_string(), id, {force, trial, "bob"});
  }
  // "TABLE record: reason".
  static Left left_of(const exchange::Undone& done) {
    Left left;
    for (const exchange::LeftRow& row : done.left) left.push_back(row.table + " " + row.record + ": " + row.reason);
    std::sort(left.begin(), left.end());
    return left;
  }
  exchange::Upload kept(std::int32_t id) const {
    return exchange::upload_of(*store::acquire_session(connection_string()).get(), id);
  }
  std::vector<exchange::JournaledRow> rows_of(std::int32_t id) const {
    return exchange::journaled_rows(*store::acquire_session(connection_string()).get(), id, 0, 100);
  }
  // "inserted PRODUCT P-3", in alphabetical order.
  Left changes_of(std::int32_t id) const {
    Left changes;
    for (const exchange::JournaledRow& row : rows_of(id))
      changes.push_back((row.before.empty()  ? "inserted "
                         : row.after.empty() ? "deleted "
                                             : "updated ") +
                        row.table + " " + row.record);
    std::sort(changes.begin(), changes.end());
    return changes;
  }

  static constexpr const char* kUpdate = "UPDATE PRODUCT SET PRODUCTDESCRIPTION = 'Card' WHERE PRODUCTID = 1";
  static constexpr const char* kInsert =
      "INSERT INTO PRODUCT (BUYFROMPARTNUMBER, PARTNUMBER, PRODUCTDESCRIPTION) VALUES ('P-3', 'M-3', 'Pen')";
  static constexpr const char* kInsertValue =
      "INSERT INTO PRODUCTPROPVALUE (PROPERTYID, PRODUCTID, VALUE) VALUES (1, 3, 'red')";
  static constexpr const char* kDeleteValue = "DELETE FROM PRODUCTPROPVALUE WHERE PRODUCTID = 2";
};

}  // namespace mercato::test
