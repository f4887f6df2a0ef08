// SPDX-License-Identifier: Apache-2.0
#include "exchange/journal/undo.h"

#include <algorithm>
#include <limits>
#include <map>
#include <set>
#include <unordered_map>
#include <utility>

#include "exchange/journal/journal.h"
#include "frame/table_references.h"
#include "frame/util.h"
#include "mercato/raised_error.h"
#include "platform/store/session_pool.h"
#include "values/same_text.h"

namespace mercato::exchange {
namespace {

constexpr std::int32_t kRowsAtOnce = 500;

std::string key_text(std::string_view value) { return text::folded(text::without_trailing_blanks(value)); }

bool refers_to_something(const TableReference& reference, const std::string& value) {
  if (text::without_trailing_blanks(value).empty()) return false;
  return reference.kind == ReferenceKind::text || (value.front() != '-' && value != "0");
}

// What the rows of a column are asked for by.
Sql list_of(const TableReference& reference, const std::set<std::string>& values) {
  Sql list(" IN (");
  bool is_first = true;
  for (const std::string& one : values) {
    if (!std::exchange(is_first, false)) list << ",";
    if (reference.kind == ReferenceKind::text)
      list << value(GetSqlLiterals().TextToSql(one));
    else
      list << value(one);
  }
  return list << ")";
}

template <class Take>
void in_batches(const std::set<std::string>& values, const Take& take) {
  std::set<std::string> batch;
  for (const std::string& one : values) {
    batch.insert(one);
    if (batch.size() < static_cast<std::size_t>(kRowsAtOnce)) continue;
    take(batch);
    batch.clear();
  }
  if (!batch.empty()) take(batch);
}

// A row that the upload has inserted and that is to go.
struct Deletion {
  const JournaledTable* table = nullptr;
  std::string record;
  std::string image;  // as it is
  bool stays = false;
  bool cancelled = false;
};

class Undoing {
 public:
  Undoing(store::Session& session, std::int32_t upload, std::int32_t undo, bool force)
      : session_(session), upload_(upload), undo_(undo), force_(force) {}

  Undone run() {
    std::int32_t below = std::numeric_limits<std::int32_t>::max();
    for (;;) {
      const std::vector<JournaledRow> rows = journaled_rows_backwards(session_, upload_, below);
      if (rows.empty()) break;
      below = rows.back().sequence;
      take_back(rows);
    }
    std::erase_if(deletions_, [](const Deletion& deletion) { return deletion.cancelled; });
    keep_what_is_used();
    delete_rows();
    return std::move(done_);
  }

 private:
  struct Present {
    std::string image;  // empty: there is no such row
    std::optional<store::RowIdentity> identity;
  };

  void leave(const JournaledRow& row, std::string reason) {
    done_.left.push_back({row.table, row.record, std::move(reason)});
  }

  void read_present(const std::vector<JournaledRow>& rows) {
    present_.clear();
    std::map<const JournaledTable*, std::set<std::string>> asked;
    for (const JournaledRow& row : rows) {
      const JournaledTable& table = journaled_table(row.table);
      asked[&table].insert(value_in(row.after.empty() ? row.before : row.after, table.looked_up_by));
    }
    for (const auto& [table, values] : asked) {
      const std::vector<std::string> list(values.begin(), values.end());
      for (ImagedRow& found : identified_rows(session_, *table, list))
        present_[std::string(table->name) + found.key] = {std::move(found.image), std::move(found.identity)};
    }
  }

  void take_back(const std::vector<JournaledRow>& rows) {
    read_present(rows);
    find_targets(rows);
    std::vector<JournaledRow> kept;
    for (const JournaledRow& row : rows) {
      const JournaledTable& table = journaled_table(row.table);
      const std::string key = row.table + key_of(table, row.after.empty() ? row.before : row.after);
      Present& present = present_[key];
      if (const auto going = going_.find(key); going != going_.end() && row.after.empty()) {
        // The upload had deleted the row and inserted it again: it stays, as it was at first.
        deletions_[going->second].cancelled = true;
        going_.erase(going);
        kept.push_back({0, row.table, row.record, present.image, row.before});
        write(table, present, row.before);
        continue;
      }
      if (is_target(present.image, row.before)) {
        ++done_.unchanged;
      } else if (!force_ && !is_target(present.image, row.after)) {
        leave(row, present.image.empty() ? "It is gone." : "It was changed since.");
        if (row.before.empty()) kept_rows_.insert({&table, row.after});
      } else if (const std::string missing = missing_target(row, present.image); !missing.empty()) {
        leave(row, missing);
      } else if (row.before.empty()) {
        going_[key] = deletions_.size();
        deletions_.push_back({&table, row.record, present.image});
      } else {
        kept.push_back({0, row.table, row.record, present.image, row.before});
        write(table, present, row.before);
      }
    }
    insert_waiting();
    keep_rows(session_, undo_, kept);
  }

  static bool is_target(std::string_view present, std::string_view image) {
    return present.empty() || image.empty() ? present.empty() && image.empty() : are_same(present, image);
  }

  void write(const JournaledTable& table, Present& present, const std::string& image) {
    const store::TableInfo info = *session_.table(table.name);
    std::vector<Variant> row = row_of(info, image);
    if (present.image.empty()) {
      ++done_.inserted;
      for (const TableReference& reference : table_references())
        if (reference.to_table == table.name)
          brought_back_.insert(name_of(reference, value_in(image, reference.to_column)));
      waiting_[&table].push_back(std::move(row));
    } else {
      ++done_.restored;
      if (!present.identity) insert_waiting();
      update(table, info, present, row);
    }
    present.image = image;
  }

  void update(const JournaledTable& table, const store::TableInfo& info, Present& present, std::vector<Variant>& row) {
    std::vector<std::size_t> columns;
    std::vector<Variant> values;
    for (std::size_t position = 0; position < info.columns.size(); ++position) {
      if (std::ranges::find(table.key, info.columns[position].name) != table.key.end()) continue;
      columns.push_back(position);
      values.push_back(std::move(row[position]));
    }
    if (columns.empty()) return;
    if (!present.identity) {  // it was inserted a moment ago
      const auto lookup = value_in(present.image, table.looked_up_by);
      for (ImagedRow& found : identified_rows(session_, table, std::span(&lookup, 1)))
        if (found.key == key_of(table, present.image)) present.identity = std::move(found.identity);
    }
    session_.update_row(info, *present.identity, columns, values);
  }

  // Rows that others refer to come first.
  void insert_waiting() {
    const auto tables = journaled_tables();
    for (auto table = tables.rbegin(); table != tables.rend(); ++table) {
      const auto found = waiting_.find(&*table);
      if (found != waiting_.end() && !found->second.empty())
        session_.copy_rows(*session_.table(table->name), found->second);
    }
    waiting_.clear();
  }

  // References of rows that are written, to rows that may be gone by now.

  static std::string name_of(const TableReference& reference, std::string_view value) {
    return std::string(reference.to_table).append(" ").append(key_text(value));
  }
  template <class Take>
  static void for_each_reference(const JournaledRow& row, const Take& take) {
    for (const TableReference& reference : table_references()) {
      if (reference.table != row.table) continue;
      const std::string value = value_in(row.before, reference.column);
      if (refers_to_something(reference, value)) take(reference, value);
    }
  }
  void find_targets(const std::vector<JournaledRow>& rows) {
    std::map<const TableReference*, std::set<std::string>> asked;
    for (const JournaledRow& row : rows)
      if (!row.before.empty())
        for_each_reference(row, [&](const TableReference& reference, const std::string& value) {
          if (!targets_.contains(name_of(reference, value))) asked[&reference].insert(value);
        });
    for (const auto& [reference, all] : asked)
      in_batches(all, [&, reference = reference](const std::set<std::string>& values) {
        const store::Execution query = session_.execute(
            Sql("SELECT DISTINCT ") << name(reference->to_column) << " FROM " << name(reference->to_table) << " WHERE "
                                    << name(reference->to_column) << list_of(*reference, values));
        std::vector<Variant> found;
        while (query.cursor->next()) {
          query.cursor->read(found);
          targets_.insert(name_of(*reference, found[0].to_text()));
        }
      });
  }
  // A reference that the row has at present anyway hinders nothing.
  std::string missing_target(const JournaledRow& row, const std::string& present) const {
    std::string missing;
    if (row.before.empty()) return missing;
    for_each_reference(row, [&](const TableReference& reference, const std::string& value) {
      const std::string name = name_of(reference, value);
      if (targets_.contains(name) || brought_back_.contains(name)) return;
      if (!present.empty() && value_in(present, reference.column) == value) return;
      missing = "Its " + std::string(reference.column) + " " + value + " is in no row of " +
                std::string(reference.to_table) + " any more.";
    });
    return missing;
  }

  // References to rows that are to go.

  // How many rows refer to each of these values.
  std::map<std::string, std::int32_t> counts_of(const TableReference& reference, const std::set<std::string>& all) {
    std::map<std::string, std::int32_t> counts;
    in_batches(all, [&](const std::set<std::string>& values) {
      const store::Execution query =
          session_.execute(Sql("SELECT ") << name(reference.column) << ", COUNT(*) FROM " << name(reference.table)
                                          << " WHERE " << name(reference.column) << list_of(reference, values)
                                          << " GROUP BY " << name(reference.column));
      std::vector<Variant> row;
      while (query.cursor->next()) {
        query.cursor->read(row);
        counts[key_text(row[0].to_text())] += row[1].to_long();
      }
    });
    return counts;
  }

  void stay(Deletion& deletion, std::string reason) {
    deletion.stays = true;
    done_.left.push_back({std::string(deletion.table->name), deletion.record, std::move(reason)});
    staying_.push_back(&deletion);
  }

  // A row that anything refers to stays, and so does what refers to a row that stays: a product with its values.
  void keep_what_is_used() {
    struct Users {
      const TableReference* reference;
      std::map<std::string, std::int32_t> counts;                 // of rows of the store that would stay
      std::map<std::string, std::vector<Deletion*>> going;        // rows that go, by what they refer to
      std::map<std::string, std::vector<Deletion*>> referred_to;  // by the value that others refer to them with
    };
    std::vector<Users> all;
    for (const TableReference& reference : table_references()) {
      Users users{&reference, {}, {}, {}};
      std::set<std::string> values;
      for (Deletion& deletion : deletions_)
        if (deletion.table->name == reference.to_table) {
          const std::string value = value_in(deletion.image, reference.to_column);
          values.insert(value);
          users.referred_to[key_text(value)].push_back(&deletion);
        }
      if (values.empty() && kept_rows_.empty()) continue;
      users.counts = counts_of(reference, values);
      for (Deletion& deletion : deletions_)
        if (deletion.table->name == reference.table) {
          const std::string value = key_text(value_in(deletion.image, reference.column));
          users.going[value].push_back(&deletion);
          --users.counts[value];
        }
      all.push_back(std::move(users));
    }
    for (Users& users : all)
      for (const auto& [table, image] : kept_rows_)
        if (table->name == users.reference->to_table)
          for (Deletion* user : users.going[key_text(value_in(image, users.reference->to_column))])
            if (!user->stays) stay(*user, "It belongs to a row of " + std::string(table->name) + " that stays.");
    for (Users& users : all)
      for (const auto& [value, count] : users.counts)
        if (count > 0)
          for (Deletion* used : users.referred_to[value])
            if (!used->stays)
              stay(*used, "It is used by " + std::to_string(count) + (count == 1 ? " row" : " rows") + " of " +
                              std::string(users.reference->table) + ".");
    while (!staying_.empty()) {
      const Deletion& kept = *staying_.back();
      staying_.pop_back();
      for (Users& users : all) {
        if (kept.table->name == users.reference->to_table)
          for (Deletion* user : users.going[key_text(value_in(kept.image, users.reference->to_column))])
            if (!user->stays) stay(*user, "It belongs to a row of " + std::string(kept.table->name) + " that stays.");
        if (kept.table->name == users.reference->table)
          for (Deletion* used : users.referred_to[key_text(value_in(kept.image, users.reference->column))])
            if (!used->stays)
              stay(*used, "It is used by a row of " + std::string(users.reference->table) + " that stays.");
      }
    }
  }

  void delete_rows() {
    std::vector<JournaledRow> kept;
    for (const Deletion& deletion : deletions_) {
      if (deletion.stays) continue;
      const store::TableInfo info = *session_.table(deletion.table->name);
      session_.execute(Sql("DELETE FROM ") << name(deletion.table->name) << " WHERE "
                                           << condition_of(*deletion.table, info, deletion.image));
      ++done_.deleted;
      kept.push_back({0, std::string(deletion.table->name), deletion.record, deletion.image, {}});
    }
    // Backwards, so that whoever undoes this brings back first what others refer to.
    std::ranges::stable_sort(kept, {}, [](const JournaledRow& row) { return &journaled_table(row.table); });
    keep_rows(session_, undo_, kept);
  }

  store::Session& session_;
  const std::int32_t upload_;
  const std::int32_t undo_;
  const bool force_;
  Undone done_;
  std::unordered_map<std::string, Present> present_;
  std::map<const JournaledTable*, std::vector<std::vector<Variant>>> waiting_;  // rows to be inserted
  std::set<std::string> targets_;
  std::set<std::string> brought_back_;
  std::vector<Deletion> deletions_;
  std::unordered_map<std::string, std::size_t> going_;                 // their positions, by table and key
  std::set<std::pair<const JournaledTable*, std::string>> kept_rows_;  // inserted ones that were changed since
  std::vector<Deletion*> staying_;
};

}  // namespace

Undone undo_upload(const std::string& connection_string, std::int32_t id, const UndoOptions& options) {
  const store::PooledSession session = store::acquire_session(connection_string);
  const Upload upload = upload_of(*session.get(), id);
  const std::string named = "Upload " + std::to_string(id);
  if (upload.state == "waiting" || (upload.state == "running" && !upload.cut_short))
    raise(error_number::kInvalidArgument, {}, named + " is not over yet. Wait until it has ended");
  if (upload.undone_by != 0 && !options.force)
    raise(error_number::kInvalidArgument, {},
          named + " was taken back already, by upload " + std::to_string(upload.undone_by) +
              ". Undo that one to bring it back, or use --force for the rows that were left");
  settle_if_cut_short(*session.get(), upload);
  if (upload.counts.inserted + upload.counts.updated > 0 && journaled_rows(*session.get(), id, 0, 1).empty())
    raise(error_number::kInvalidArgument, {},
          named + " has changed records, but none of its rows were kept. So there is nothing to take it back by");

  session->start_transaction();
  const std::int32_t undo =
      begin_upload(*session.get(), {"undo", options.user, upload.file, {}, options.force ? "force" : "", id});
  Undone done = Undoing(*session.get(), id, undo, options.force).run();
  UploadCounts counts;
  counts.inserted = static_cast<std::int32_t>(done.inserted);
  counts.updated = static_cast<std::int32_t>(done.restored + done.deleted);
  counts.unchanged = static_cast<std::int32_t>(done.unchanged);
  counts.left = static_cast<std::int32_t>(done.left.size());
  counts.read = counts.inserted + counts.updated + counts.unchanged + counts.left;
  std::vector<KeptFinding> findings;
  for (const LeftRow& left : done.left) findings.push_back({"left", left.record, 0, left.table, {}, left.reason});
  end_upload(*session.get(), undo, {counts, {}}, findings);
  if (options.trial) {
    session->rollback();
    return done;
  }
  session->commit();
  done.upload = undo;
  return done;
}

}  // namespace mercato::exchange
