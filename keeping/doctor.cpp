// SPDX-License-Identifier: Apache-2.0
#include "keeping/doctor.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "frame/lib_sql.h"
#include "frame/util.h"
#include "keeping/store_calls.h"
#include "mercato/clock.h"
#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::keeping {
namespace {

// Of what is found so many are named.
constexpr std::size_t kExamples = 3;

std::string named_in(Dictionary& row, std::string_view column) { return row.Item(std::string(column)).text_or_empty(); }

// Rows of which the first are asked for, and their number.
struct Search {
  const char* name;
  const char* words;
  const char* mend;
  Sql from;     // "FROM ..." of the rows
  Sql columns;  // those of an example
  Sql order;
  std::string (*example)(Dictionary& row);
};

void look(std::vector<Finding>& findings, const Search& search) {
  const std::size_t count = count_by(Sql("SELECT COUNT(*) AS N ") << search.from);
  if (count == 0) return;
  Finding& finding = findings.emplace_back();
  finding.name = search.name;
  finding.words = search.words;
  finding.mend = search.mend;
  finding.count = count;
  for (const DictionaryPtr& row :
       rows_of(Sql("SELECT TOP 3 ") << search.columns << " " << search.from << " ORDER BY " << search.order))
    finding.examples.push_back(search.example(*row));
}

std::string product_in(Dictionary& row) {
  return "id:" + named_in(row, "PRODUCTID") + " " + named_in(row, "PARTNUMBER");
}

// The store

void tell_store(std::vector<Finding>& findings, const StoreCheck& check) {
  const auto add = [&](const char* name, const char* words, const std::vector<std::string>& found, const char* mend) {
    if (found.empty()) return;
    Finding& finding = findings.emplace_back(Finding{name, words, found.size(), {}, mend});
    finding.examples.assign(found.begin(),
                            found.begin() + static_cast<std::ptrdiff_t>(std::min(found.size(), kExamples)));
  };
  if (check.damage) add("damage", "places of the store are damaged", *check.damage, "mercato store restore FILE");
  add("lackingRights", "rights are lacking on the store", check.lacking_rights,
      "ask the keeper of the server; docs/run-on-a-server.md has the statements");
  if (check.version_fault)
    findings.push_back({"version", "the tables are another release's", 1, {*check.version_fault}, "mercato init"});
  else
    add("missing", "tables or indexes are missing", check.missing, "mercato init");
  if (check.unfinished_copy_of)
    findings.push_back({"unfinishedCopy",
                        "the store is an unfinished copy",
                        1,
                        {*check.unfinished_copy_of},
                        "mercato store copy FROM TO, once more"});
}

void tell_references(std::vector<Finding>& findings, const std::vector<DanglingRows>& dangling) {
  for (const DanglingRows& rows : dangling) {
    const std::string place = std::string(rows.reference.table) + "." + std::string(rows.reference.column);
    Finding& finding = findings.emplace_back();
    finding.name = "leadsNowhere";
    finding.words = place + " leads to no row of " + std::string(rows.reference.to_table);
    finding.count = static_cast<std::size_t>(rows.rows);
    for (const DictionaryPtr& row : rows.first) {
      std::string example;
      row->for_each([&](const Variant& column, const Variant& value) {
        example += (example.empty() ? "" : ", ") + column.to_text() + " " + (value.is_null() ? "-" : value.to_text());
      });
      finding.examples.push_back(std::move(example));
    }
    finding.mend = mend_of(rows.reference) == ReferenceMend::none
                       ? "add the row of " + std::string(rows.reference.to_table)
                       : "mercato doctor --mend " + place;
  }
}

// What the tables hold

void tell_products(std::vector<Finding>& findings) {
  look(findings, {"productsInNoCategory", "enabled products are in no category, so that no catalogue shows them",
                  "mercato category add CATEGORY PRODUCT...",
                  Sql("FROM PRODUCT P WHERE (P.DISABLED <> 1 OR P.DISABLED IS NULL) AND NOT EXISTS (SELECT 1 FROM "
                      "PRODUCTSBYCATEGORY C WHERE C.PRODUCTID = P.PRODUCTID)"),
                  Sql("P.PRODUCTID, P.PARTNUMBER"), Sql("P.PRODUCTID"), product_in});
  std::vector<std::string> examples;
  const Sql doubled("FROM PRODUCT GROUP BY PARTNUMBER HAVING COUNT(*) > 1");
  const std::vector<std::int32_t> counts = ids_by(Sql("SELECT COUNT(*) AS HELD ") << doubled);
  if (counts.empty()) return;
  for (const DictionaryPtr& row :
       rows_of(Sql("SELECT TOP 3 PARTNUMBER, COUNT(*) AS HELD ") << doubled << " ORDER BY PARTNUMBER"))
    examples.push_back(named_in(*row, "PARTNUMBER") + ", " + named_in(*row, "HELD") + " products");
  findings.push_back({"doubledPartNumbers", "part numbers have several products", counts.size(), std::move(examples),
                      "mercato product set id:N PARTNUMBER=..., or mercato product delete id:N --yes"});
}

void tell_users(std::vector<Finding>& findings) {
  const auto user = [](Dictionary& row) { return named_in(row, "USERID"); };
  look(findings, {"usersWithoutRights", "active users have no right", "mercato rights assign USER CATALOG",
                  Sql("FROM USERS U WHERE (U.ISACTIVE <> 0 OR U.ISACTIVE IS NULL) AND NOT EXISTS (SELECT 1 FROM "
                      "CATALOGNODEBYUSER R WHERE R.USERID = U.USERID AND R.ISPROFILE = 0)"),
                  Sql("U.USERID"), Sql("U.USERID"), user});
  look(findings,
       {"rightsNotLaidOut", "users have rights on nodes that were never laid out", "mercato rights populate USER",
        Sql("FROM (SELECT DISTINCT USERID FROM CATALOGNODEBYUSER WHERE ISPROFILE = 0 AND NODEID IS NOT NULL) R "
            "WHERE NOT EXISTS (SELECT 1 FROM USERNODE N WHERE N.USERID = R.USERID)"),
        Sql("R.USERID"), Sql("R.USERID"), user});
}

void tell_prices(std::vector<Finding>& findings, int days) {
  const Date today(std::floor(clock::now().days()));
  const std::string begin = GetSqlLiterals().DateTimeToSql(today);
  const std::string end = GetSqlLiterals().DateTimeToSql(Date(today.days() + days));
  look(findings,
       {"pricesThatEnd", "price lines end soon", "mercato price set PRODUCT --from DATE --to-quantity N ...",
        Sql("FROM CATALOGPRODUCTPRICE L INNER JOIN PRODUCT P ON P.PRODUCTID = L.PRODUCTID WHERE (P.DISABLED <> 1 OR "
            "P.DISABLED IS NULL) AND L.PRICEEXPIRYDATE >= ")
            << value(begin) << " AND L.PRICEEXPIRYDATE <= " << value(end),
        Sql("P.PRODUCTID, P.PARTNUMBER, L.PRICEEXPIRYDATE, L.QUANTITYTO"),
        Sql("L.PRICEEXPIRYDATE, P.PRODUCTID, L.QUANTITYTO"), [](Dictionary& row) {
          return product_in(row) + " up to " + named_in(row, "QUANTITYTO") + " on " +
                 row.Item("PRICEEXPIRYDATE").to_date().iso_text().substr(0, 10);
        }});
}

// What a row of these tables says is only that two things belong together.
constexpr auto kLinkTables =
    std::to_array<std::string_view>({"ALTERNATIVEPRODUCTS", "ATTACHEDFILE", "CATALOGNODEBYBP", "CATALOGNODEBYUSER",
                                     "FAVORITES", "PRODUCTBUYER", "PRODUCTPROPVALUE", "PRODUCTSBYCATEGORY",
                                     "PROPERTYENUM", "PROPSBYPROPGROUP", "USERNODE", "VISIBILITIESBYCATEGORY"});

bool is_place(const TableReference& reference, std::string_view table, std::string_view column) {
  return reference.table == table && reference.column == column;
}

}  // namespace

std::vector<Finding> examine(int days) {
  std::vector<Finding> findings;
  const StoreCheck check = check_whole_store(shared_connection_string());
  tell_store(findings, check);
  if (!findings.empty()) return findings;
  tell_references(findings, check.dangling);
  tell_products(findings);
  tell_users(findings);
  tell_prices(findings, days);
  return findings;
}

ReferenceMend mend_of(const TableReference& reference) {
  // A favourite of a folder that is gone goes to the top level.
  if (is_place(reference, "FAVORITES", "FOLDERID")) return ReferenceMend::clear;
  if (is_place(reference, "CATALOGNODE", "CATALOGID") || is_place(reference, "CATALOGPRODUCTPRICE", "PRODUCTID") ||
      std::ranges::find(kLinkTables, reference.table) != kLinkTables.end())
    return ReferenceMend::delete_rows;
  // An amount without its currency means nothing, and nobody knows which it was.
  if (reference.to_table == "CURRENCY") return ReferenceMend::none;
  return ReferenceMend::clear;
}

std::size_t mend_references(std::string_view table_and_column) {
  for (const TableReference& reference : table_references()) {
    if (!text::equal_names(std::string(reference.table) + "." + std::string(reference.column), table_and_column))
      continue;
    const ReferenceMend mend = mend_of(reference);
    if (mend == ReferenceMend::none)
      raise(error_number::kInvalidArgument, {},
            std::string(table_and_column) + " cannot be cleared: add the rows of " + std::string(reference.to_table));
    Sql sql;
    if (mend == ReferenceMend::delete_rows)
      sql = Sql("DELETE FROM ") << name(reference.table);
    else
      sql = Sql("UPDATE ") << name(reference.table) << " SET " << name(reference.column);
    if (mend == ReferenceMend::clear) is_place(reference, "FAVORITES", "FOLDERID") ? sql << " = 0" : sql << " = NULL";
    sql << " WHERE " << name(reference.column);
    if (reference.kind == ReferenceKind::number)
      sql << " > 0";
    else
      sql << " <> ''";
    sql << " AND " << name(reference.column) << " NOT IN (SELECT " << name(reference.to_column) << " FROM "
        << name(reference.to_table) << " WHERE " << name(reference.to_column) << " IS NOT NULL)";
    return static_cast<std::size_t>(run_statement(sql));
  }
  raise(error_number::kInvalidArgument, {},
        std::string(table_and_column) +
            " is no reference between tables; `mercato doctor` names those that lead nowhere");
}

}  // namespace mercato::keeping
