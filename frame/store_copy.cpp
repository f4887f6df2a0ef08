// SPDX-License-Identifier: Apache-2.0
#include "frame/store_copy.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <utility>

#include "frame/schema_definitions.h"
#include "frame/schema_versions.h"
#include "frame/util.h"
#include "mercato/raised_error.h"
#include "mercato/table_creation.h"
#include "platform/store/known_drivers.h"
#include "platform/store/session_pool.h"
#include "values/text.h"

namespace mercato {
namespace {

// A batch ends with so many rows, or with so many bytes of text.
constexpr std::size_t kBatchRows = 500;
constexpr std::size_t kBatchBytes = std::size_t{4} << 20;

[[noreturn]] void refuse(std::string description) { raise(error_number::kStoreFailure, {}, std::move(description)); }

std::vector<std::string> library_tables() {
  std::vector<std::string> tables;
  for (const SchemaDefinition& definition : schema_definitions())
    if (definition.is_table) tables.push_back(definition.name);
  return tables;
}

std::int64_t number_of(store::Session& session, const Sql& sql) {
  const store::Execution query = session.execute(sql);
  std::vector<Variant> row;
  if (!query.cursor->next()) return 0;
  query.cursor->read(row);
  return row[0].to_long();
}

bool has_rows(store::Session& session, const Sql& sql) { return session.execute(sql).cursor->next(); }

// The row of a table that was copied whole; "" is the row of the copy itself.
Sql rows_of_copy(std::string_view table) {
  return Sql(" FROM ") << name(kCopyTable) << " WHERE COPIEDTABLE = '" << value(table) << "'";
}

// The table's columns in their order; a name may be a keyword.
Sql all_columns(const store::TableInfo& table) {
  Sql sql("SELECT ");
  for (const store::Column& column : table.columns) {
    if (&column != &table.columns.front()) sql << ", ";
    sql << name("[" + column.name + "]");
  }
  return sql << " FROM " << name(table.name);
}

Sql text_index_of(const store::TableInfo& table) {
  Sql sql = Sql("CREATE FULLTEXT INDEX ON ") << name(table.name) << " (";
  bool is_first = true;
  for (const store::Column& column : table.columns) {
    if (!column.in_text_index) continue;
    if (!std::exchange(is_first, false)) sql << ", ";
    sql << name("[" + column.name + "]");
  }
  return sql << ")";
}

// Takes in the bytes of a row's values; two rows with the same values end with the same number on every engine.
class RowHash {
 public:
  void add(const Variant& value) {
    switch (value.type()) {
      case Variant::Type::null:
        return add_bytes("N", 0);
      case Variant::Type::currency:
        return add_bytes("M", static_cast<std::uint64_t>(value.currency_value().scaled()));
      case Variant::Type::date:
        return add_text("D", value.date_value().iso_text());  // whole seconds
      case Variant::Type::text:
        return add_text("T", value.text_value());
      case Variant::Type::real:
        return add_bytes("R", std::bit_cast<std::uint64_t>(value.double_value() + 0.0));  // -0 is 0
      case Variant::Type::boolean:
        return add_bytes("B", value.boolean_value() ? 1 : 0);
      default:
        return add_bytes("I", static_cast<std::uint64_t>(std::int64_t{value.to_long()}));
    }
  }
  // Spread over all bits, so that sums of many rows tell them apart.
  std::uint64_t finished() const {
    std::uint64_t hash = hash_;
    hash = (hash ^ (hash >> 30)) * 0xBF58476D1CE4E5B9u;
    hash = (hash ^ (hash >> 27)) * 0x94D049BB133111EBu;
    return hash ^ (hash >> 31);
  }

 private:
  void add_byte(unsigned char byte) { hash_ = (hash_ ^ byte) * 0x100000001B3u; }
  void add_bytes(const char* kind, std::uint64_t number) {
    add_byte(static_cast<unsigned char>(*kind));
    for (int shift = 0; shift < 64; shift += 8) add_byte(static_cast<unsigned char>(number >> shift));
  }
  void add_text(const char* kind, std::string_view text) {
    add_bytes(kind, text.size());
    for (const char character : text) add_byte(static_cast<unsigned char>(character));
  }

  std::uint64_t hash_ = 0xCBF29CE484222325u;
};

// A row of either store, in the types of the target's columns.
void read(store::Cursor& cursor, const store::TableInfo& table, std::vector<Variant>& row) {
  cursor.read(row);
  const auto& columns = cursor.layout()->columns();
  for (std::size_t i = 0; i < row.size(); ++i)
    if (columns[i].type != table.columns[i].type) row[i] = store::to_column_type(row[i], table.columns[i].type);
}

class Copy {
 public:
  Copy(const std::string& from, const std::string& to, const CopyObserver& observer)
      : observer_(observer), source_(store::acquire_session(from)) {
    const store::StoreDescription description = store::driver_for(from).describe(from);
    done_.from = description.place;
    done_.left = foreign_tables(description.tables);
    refuse_unfit_source();
    refuse_unfit_target(to);
    create_tables(to);
    target_ = store::acquire_session(to);
    for (const std::string& table : library_tables()) {
      tables_.push_back(
          {*target_->table(table), number_of(*source_.get(), Sql("SELECT COUNT(*) FROM ") << name(table))});
      refuse_unknown_columns(tables_.back().info);
    }
  }

  StoreCopy run() {
    begin();
    std::int64_t left = 0;
    for (const Table& table : tables_)
      if (!is_whole(table)) left += table.rows;
    start(CopyStep::copying, left);
    for (const Table& table : tables_)
      if (!is_whole(table)) copy(table.info);
    compare();
    target_->execute(Sql("DROP TABLE ") << name(kCopyTable));
    return std::move(done_);
  }

 private:
  struct Table {
    store::TableInfo info;  // of the target
    std::int64_t rows = 0;  // of the source, when the copy began
  };

  void refuse_unfit_source() {
    const std::string source = "'" + done_.from + "' cannot be copied: ";
    if (const auto fault = fault_of_schema_version(schema_version_of(*source_.get()))) refuse(source + *fault);
    if (const auto other = source_of_unfinished_copy(*source_.get()))
      refuse(source + "it is itself an unfinished copy of '" + *other + "'. Finish that one first");
    for (const std::string& table : library_tables())
      if (!source_->table(table))
        refuse(source + "it has no table " + table + ". `mercato init` creates the tables that are missing");
  }

  void refuse_unknown_columns(const store::TableInfo& target) {
    for (const store::Column& column : source_->table(target.name)->columns)
      if (!target.find(column.name))
        refuse("'" + done_.from + "' cannot be copied: its table " + target.name + " has a column " + column.name +
               ", which is not the library's");
  }

  // Before a table of it is created or brought up to date.
  void refuse_unfit_target(const std::string& to) {
    const auto target = store::driver_for(to).open("Create=Yes;" + to);
    done_.to = store::driver_for(to).describe(to).place;
    if (done_.from == done_.to) refuse("'" + done_.from + "' cannot be copied to itself. Name another store");
    if (const auto other = source_of_unfinished_copy(*target)) {
      if (*other != done_.from)
        refuse("'" + done_.to + "' holds an unfinished copy of '" + *other +
               "'. Finish that one, or copy into a store without rows");
      done_.continued = true;
      return;
    }
    for (const std::string& table : library_tables())
      if (target->table(table) && has_rows(*target, Sql("SELECT TOP 1 * FROM ") << name(table)))
        refuse("'" + done_.to + "' has rows already, in the table " + table + ". Copy into a store without rows");
  }

  // Marks the target as an unfinished copy of the source.
  void begin() {
    if (done_.continued) return;
    target_->start_transaction();
    target_->execute(Sql("CREATE TABLE ")
                     << name(kCopyTable) << " (COPIEDTABLE nvarchar(128) NOT NULL PRIMARY KEY, SOURCE ntext NULL)");
    mark("");
    target_->commit();
  }

  void mark(const std::string& table) {
    target_->execute(Sql("INSERT INTO ") << name(kCopyTable) << " (COPIEDTABLE, SOURCE) VALUES ('" << value(table)
                                         << "', " << value(GetSqlLiterals().TextToSql(done_.from)) << ")");
  }
  bool is_whole(const Table& table) {
    return has_rows(*target_.get(), Sql("SELECT SOURCE") << rows_of_copy(table.info.name));
  }

  // The mark comes first: of two copies at once the second one waits for it, and fails.
  void copy(const store::TableInfo& table) {
    target_->start_transaction();
    try {
      mark(table.name);
    } catch (const Raised& raised) {
      if (raised.error().Number != error_number::kConstraintViolated) throw;
      refuse("Another copy into '" + done_.to + "' is under way. Wait until it is done");
    }
    target_->execute(Sql("DELETE FROM ") << name(table.name));
    // Built of all rows at once it costs a part of what it costs row by row.
    if (table.has_text_index()) target_->execute(Sql("DROP FULLTEXT INDEX ON ") << name(table.name));
    const store::Execution query = source_->execute(all_columns(table));
    std::vector<std::vector<Variant>> batch;
    std::size_t bytes = 0;
    const auto write_batch = [&] {
      target_->copy_rows(table, batch);
      advance(batch.size());
      batch.clear();
      bytes = 0;
    };
    while (query.cursor->next()) {
      std::vector<Variant>& row = batch.emplace_back();
      read(*query.cursor, table, row);
      for (const Variant& value : row)
        if (value.is_text()) bytes += value.text_value().size();
      if (batch.size() == kBatchRows || bytes >= kBatchBytes) write_batch();
    }
    if (!batch.empty()) write_batch();
    if (table.has_text_index()) target_->execute(text_index_of(table));
    target_->commit();
  }

  CopiedTable sum_of(store::Session& session, const store::TableInfo& table) {
    CopiedTable sum{table.name};
    std::size_t unseen = 0;  // by the observer
    const store::Execution query = session.execute(all_columns(table));
    for (std::vector<Variant> row; query.cursor->next(); ++sum.rows) {
      read(*query.cursor, table, row);
      RowHash hash;
      for (const Variant& value : row) hash.add(value);
      sum.checksum += hash.finished();
      if (++unseen == kBatchRows) advance(std::exchange(unseen, 0));
    }
    advance(unseen);
    return sum;
  }

  // Tables that differ lose their marks, so that the next copy begins them anew.
  void compare() {
    std::int64_t rows = 0;
    for (const Table& table : tables_) rows += 2 * table.rows;
    start(CopyStep::comparing, rows);
    std::string different;
    for (const Table& table : tables_) {
      done_.tables.push_back(sum_of(*target_.get(), table.info));
      if (sum_of(*source_.get(), table.info) == done_.tables.back()) continue;
      target_->execute(Sql("DELETE") << rows_of_copy(table.info.name));
      different += (different.empty() ? "" : ", ") + table.info.name;
    }
    if (!different.empty())
      refuse("The two stores differ in " + different +
             ": somebody writes to one of them. Copy again when nobody does; what differs is then begun anew");
  }

  void start(CopyStep step, std::int64_t rows) {
    step_ = step;
    rows_done_ = 0;
    rows_in_all_ = rows;
  }
  void advance(std::size_t rows) {
    rows_done_ += static_cast<std::int64_t>(rows);
    if (observer_ && rows > 0) observer_(step_, rows_done_, std::max(rows_done_, rows_in_all_));
  }

  const CopyObserver& observer_;
  store::PooledSession source_;
  store::PooledSession target_;
  std::vector<Table> tables_;
  StoreCopy done_;
  CopyStep step_ = CopyStep::copying;
  std::int64_t rows_done_ = 0;
  std::int64_t rows_in_all_ = 0;
};

}  // namespace

StoreCopy copy_store(const std::string& from, const std::string& to, const CopyObserver& observer) {
  return Copy(from, to, observer).run();
}

std::optional<std::string> source_of_unfinished_copy(store::Session& session) {
  if (!session.table(kCopyTable)) return std::nullopt;
  const store::Execution query = session.execute(Sql("SELECT SOURCE") << rows_of_copy(""));
  std::vector<Variant> row;
  if (!query.cursor->next()) return std::string();
  query.cursor->read(row);
  return row[0].text_or_empty();
}

std::vector<std::string> foreign_tables(const std::vector<std::string>& tables) {
  std::vector<std::string> own = library_tables();
  own.emplace_back(kVersionTable);
  own.emplace_back(kCopyTable);
  std::vector<std::string> foreign;
  std::ranges::remove_copy_if(tables, std::back_inserter(foreign), [&](const std::string& table) {
    return std::ranges::any_of(own, [&](const std::string& name) { return text::equal_names(table, name); });
  });
  return foreign;
}

}  // namespace mercato
