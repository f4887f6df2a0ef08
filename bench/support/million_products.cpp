// SPDX-License-Identifier: Apache-2.0
#include "bench/support/million_products.h"

#include "bench/support/bench_store.h"
#include "bench/support/component_files.h"
#include "bench/support/data_folder.h"
#include "platform/store/known_drivers.h"
#include "values/text.h"

namespace mercato::bench {
namespace {

void execute(store::Session& session, const std::string& statement) { session.execute(Sql::verbatim(statement)); }

}  // namespace

MillionProducts::MillionProducts() {
  CsvReader reader(components_file());
  const std::size_t number = reader.column("part_number"), mfr = reader.column("mfr_part_number"),
                    description = reader.column("description"), manufacturer = reader.column("manufacturer"),
                    package = reader.column("package");
  for (std::vector<std::string> row; reader.next(row);)
    rows_.push_back(
        {row[mfr],
         row[description].empty() ? row[manufacturer] + " " + row[mfr] + " " + row[package] : row[description],
         row[number]});
}

MillionProducts::Product MillionProducts::product(std::int32_t id) const {
  const std::size_t place = static_cast<std::size_t>(id - 1);
  Product made = rows_[place % rows_.size()];
  const std::size_t round = place / rows_.size();
  for (std::string* const text : {&made.part_number, &made.description, &made.supplier_number})
    for (std::size_t i = 0; round > 0 && i < text->size(); ++i)
      if (char& c = (*text)[i]; c >= '0' && c <= '9')
        c = static_cast<char>('0' + (static_cast<std::size_t>(c - '0') * 3 + round * (i + 1)) % 10);
  made.part_number = text::left(made.part_number, 50);
  made.description = text::left(made.description, 255);
  return made;
}

void MillionProducts::fill(const AnyStore& store) const {
  create_store(store.connection_string());
  const auto session = store::driver_for(store.connection_string()).open(store.connection_string());
  execute(*session, kIndexDrop);
  session->start_transaction();
  execute(*session, "INSERT INTO CATALOG (CATALOGNAME, ACTIVE) VALUES ('Components', 1)");
  for (std::int32_t i = 1; i <= kCategoriesOfMillion; ++i) {
    const std::string id = std::to_string(i);
    execute(*session, "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('Category " + id + "')");
    execute(*session, "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (1, 'Node " + id +
                          "', 1, " + id + ")");
  }
  session->commit();
  const store::TableInfo products = *session->table("PRODUCT"), links = *session->table("PRODUCTSBYCATEGORY");
  const auto place = [&](const char* name) { return products.find(name).value(); };
  std::vector<std::vector<Variant>> product_rows, link_rows;
  for (std::int32_t id = 1; id <= kMillion; ++id) {
    const Product component = product(id);
    std::vector<Variant>& row = product_rows.emplace_back(products.columns.size(), kNull);
    row[place("PRODUCTID")] = id;
    row[place("PARTNUMBER")] = row[place("MFRPARTNUMBER")] = component.part_number;
    row[place("PRODUCTDESCRIPTION")] = component.description;
    row[place("BUYFROMPARTNUMBER")] = component.supplier_number;
    row[place("DISABLED")] = row[place("STOCKITEM")] = std::int16_t{0};
    // A tenth hangs in no category.
    if (id % 10 != 0) link_rows.push_back({id, id % kCategoriesOfMillion + 1, kNull});
    if (id % 10'000 != 0) continue;
    session->start_transaction();
    session->copy_rows(products, product_rows);
    session->copy_rows(links, link_rows);
    session->commit();
    product_rows.clear();
    link_rows.clear();
  }
  execute(*session, kIndexDefinition);
  store.settle();
}

}  // namespace mercato::bench
