// SPDX-License-Identifier: Apache-2.0
#include "records/unspsc_links.h"

#include <limits>
#include <string_view>

#include "frame/contracts.h"
#include "frame/lib_general.h"
#include "frame/lib_mts.h"
#include "frame/lib_sql.h"
#include "frame/method.h"
#include "frame/tails.h"
#include "values/text.h"

namespace mercato {
namespace {

constexpr std::size_t kSegment = 2;

ConnectionPtr GetConnection() { return open_connection(shared_connection_string()); }

void remove_if_present(Dictionary& set, const Variant& key) {
  if (set.Exists(key)) set.Remove(key);
}

// The ids of a set, with commas between them.
Sql ids_of(const Dictionary& set) {
  Sql ids;
  bool first = true;
  set.for_each([&](const Variant& id, const Variant&) {
    if (!first) ids << ",";
    ids << value(id.to_text());
    first = false;
  });
  return ids;
}

struct Links {
  DictionaryPtr lost;    // what only the old code has
  DictionaryPtr gained;  // what only the new code has, and is not linked yet
};

// What both codes share stays as it is.
Links links_to_change(DictionaryPtr of_old_code, DictionaryPtr of_new_code, const Dictionary& current) {
  const Array all_of_old_code = of_old_code->Keys();
  for (const Variant& id : of_new_code->Keys().items) remove_if_present(*of_old_code, id);
  for (const Variant& id : all_of_old_code.items) remove_if_present(*of_new_code, id);
  current.for_each([&](const Variant& id, const Variant&) { remove_if_present(*of_new_code, id); });
  return {std::move(of_old_code), std::move(of_new_code)};
}

std::int32_t next_place(std::int32_t place) {
  if (place == std::numeric_limits<std::int32_t>::max()) raise(error_number::kOverflow);
  return place + 1;
}

// Null counts as 0: a category whose products have no place yet begins at 1, as one without products does.
std::int32_t place_or_none(const Variant& sequence) { return sequence.is_null() ? 0 : sequence.to_long(); }

void insert_link(ConnectionPtr& connection, std::int32_t product_id, std::int32_t category_id, std::int32_t place) {
  const Sql sql = Sql("INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (")
                  << product_id << "," << category_id << "," << place << ")";
  connection = GetConnection();
  execute_and_close(connection, sql);
}

// Whether the tail of a read closes what it opened. The two reads by code leave that to the end of their scope.
enum class TailCloses { yes, no };

// Visits the rows of a statement on a connection of its own.
template <class Visit>
void for_each_row(std::string_view label, TailCloses closes, const Sql& sql, Visit visit) {
  Opened opened;
  method(
      [&] {
        opened.connection = GetConnection();
        opened.rows = Sql_GetReadonlyRecordset(sql, opened.connection);
        for (; !opened.rows->Eof(); opened.rows->MoveNext()) visit(*opened.rows);
        opened.close();
      },
      Tail{label, [&] {
             if (closes == TailCloses::yes) opened.close();
             Mts_SetAbort();
           }});
}

// The first column of the rows as a set.
DictionaryPtr id_set(std::string_view label, TailCloses closes, const Sql& sql, std::string_view column) {
  auto ids = std::make_shared<Dictionary>();
  for_each_row(label, closes, sql, [&](const Recordset& row) { ids->Set(row.Value(column), Variant()); });
  return ids;
}

}  // namespace

bool unspsc_links_wanted() {
  grundwerk::Configuration configuration("Grundwerk.configuration");
  configuration.PrepareParameters(false);
  return configuration.GetParameter("COMMONPARAMETERS", "UNSPSCIMPLEMENTED") == Variant("Yes");
}

DictionaryPtr GetProductCategoriesForUNSPSCCode(const std::string& code) {
  const std::size_t length = text::length(code);
  Sql sql("SELECT CATEGORYID FROM PRODUCTCATEGORY WHERE UNSPSCCODE IN (");
  for (std::size_t begin = 0; begin < length; begin += kSegment) {
    if (begin > 0) sql << ",";
    sql << "'" << value(Gen_QuoteSql(text::left(code, begin + kSegment))) << "'";
  }
  sql << ")";
  return id_set("Mercato.UNSPSCLib.GetProductCategoriesForUNSPSCCode", TailCloses::no, sql, "CATEGORYID");
}

DictionaryPtr GetProductCategoriesForProduct(std::int32_t product_id) {
  return id_set("Mercato.UNSPSCLib.GetProductCategoriesForProduct", TailCloses::yes,
                Sql("SELECT CATEGORYID FROM PRODUCTSBYCATEGORY WHERE PRODUCTID=") << product_id, "CATEGORYID");
}

DictionaryPtr GetProductsForUNSPSCCode(const std::string& code) {
  return id_set("Mercato.UNSPSCLib.GetProductsForUNSPSCCode", TailCloses::no,
                Sql("SELECT PRODUCTID FROM PRODUCT WHERE UNSPSCCODE LIKE '") << value(code) << "%'", "PRODUCTID");
}

void GetProductsForProductCategory(std::int32_t category_id, const DictionaryPtr& products,
                                   std::int32_t& max_sequence) {
  const Sql sql = Sql("SELECT PRODUCTID, SEQUENCE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=") << category_id;
  for_each_row("Mercato.UNSPSCLib.GetProductsForProductCategory", TailCloses::yes, sql, [&](const Recordset& row) {
    products->Set(row.Value("PRODUCTID"), Variant());
    const std::int32_t place = place_or_none(row.Value("SEQUENCE"));
    if (place > max_sequence) max_sequence = place;
  });
}

void GetMaxSequenceNrsForProductCategories(const DictionaryPtr& categories) {
  const Sql sql = Sql("SELECT CATEGORYID, MAX(SEQUENCE) AS SEQUENCE FROM PRODUCTSBYCATEGORY GROUP BY CATEGORYID "
                      "HAVING CATEGORYID IN (")
                  << ids_of(*categories) << ")";
  for_each_row("Mercato.UNSPSCLib.GetMaxSequenceNrsForProductCategories", TailCloses::yes, sql,
               [&](const Recordset& row) { categories->Set(row.Value("CATEGORYID"), row.Value("SEQUENCE")); });
}

void UpdateProductLinksForUNSPSCCode(std::int32_t product_id, const std::string& old_code, const std::string& new_code,
                                     bool is_new) {
  ConnectionPtr connection;
  method(
      [&] {
        if (old_code == new_code) return;
        const auto categories_of = [](const std::string& code) {
          return code.empty() ? std::make_shared<Dictionary>() : GetProductCategoriesForUNSPSCCode(code);
        };
        auto of_old_code = categories_of(old_code);
        auto of_new_code = categories_of(new_code);
        const auto current = is_new ? std::make_shared<Dictionary>() : GetProductCategoriesForProduct(product_id);
        const Links links = links_to_change(std::move(of_old_code), std::move(of_new_code), *current);
        if (links.lost->Count() > 0) {
          const Sql sql = Sql("DELETE FROM PRODUCTSBYCATEGORY WHERE PRODUCTID=")
                          << product_id << " AND CATEGORYID IN (" << ids_of(*links.lost) << ")";
          connection = GetConnection();
          execute_and_close(connection, sql);
        }
        if (links.gained->Count() > 0) {
          GetMaxSequenceNrsForProductCategories(links.gained);
          links.gained->for_each([&](const Variant& category, const Variant& last) {
            insert_link(connection, product_id, category.to_long(), next_place(place_or_none(last)));
          });
        }
      },
      Tail{"Mercato.UNSPSCLib.UpdateProductLinksForUNSPSCCode", closing_and_aborting(connection)});
}

void UpdateProductCategoryLinksForUNSPSCCode(std::int32_t category_id, const std::string& old_code,
                                             const std::string& new_code, bool is_new) {
  ConnectionPtr connection;
  method(
      [&] {
        if (old_code == new_code) return;
        const auto products_of = [](const std::string& code) {
          return code.empty() ? std::make_shared<Dictionary>() : GetProductsForUNSPSCCode(code);
        };
        auto of_old_code = products_of(old_code);
        auto of_new_code = products_of(new_code);
        const auto current = std::make_shared<Dictionary>();
        std::int32_t place = 0;
        if (!is_new) GetProductsForProductCategory(category_id, current, place);
        const Links links = links_to_change(std::move(of_old_code), std::move(of_new_code), *current);
        if (links.lost->Count() > 0) {
          const Sql sql = Sql("DELETE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID=")
                          << category_id << " AND PRODUCTID IN (" << ids_of(*links.lost) << ")";
          connection = GetConnection();
          execute_and_close(connection, sql);
        }
        links.gained->for_each([&](const Variant& product, const Variant&) {
          place = next_place(place);
          insert_link(connection, product.to_long(), category_id, place);
        });
      },
      Tail{"Mercato.UNSPSCLib.UpdateProductCategoryLinksForUNSPSCCode", closing_and_aborting(connection)});
}

}  // namespace mercato
