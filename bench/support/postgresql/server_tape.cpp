// SPDX-License-Identifier: Apache-2.0
#include "bench/support/postgresql/server_tape.h"

#include <fstream>
#include <stdexcept>

namespace mercato::bench {
namespace {

template <class Items>
void write_items(std::ofstream& file, const Items& items) {
  const std::uint64_t count = items.size();
  file.write(reinterpret_cast<const char*>(&count), sizeof count);
  file.write(reinterpret_cast<const char*>(items.data()),
             static_cast<std::streamsize>(count * sizeof(typename Items::value_type)));
}

template <class Items>
void read_items(std::ifstream& file, Items& items) {
  std::uint64_t count = 0;
  file.read(reinterpret_cast<char*>(&count), sizeof count);
  items.resize(count);
  file.read(reinterpret_cast<char*>(items.data()),
            static_cast<std::streamsize>(count * sizeof(typename Items::value_type)));
}

constexpr std::uint64_t ServerTape::*kCounts[] = {&ServerTape::round_trips, &ServerTape::batches,
                                                  &ServerTape::savepoints, &ServerTape::settings,
                                                  &ServerTape::table_questions};

}  // namespace

std::uint64_t ServerTape::runs() const { return steps.size(); }

void save_server_tape(const ServerTape& tape, const std::filesystem::path& path) {
  std::ofstream file(path, std::ios::binary);
  std::vector<std::uint64_t> counts{tape.statements.size()};
  for (const auto count : kCounts) counts.push_back(tape.*count);
  write_items(file, counts);
  for (const ServerTape::Statement& statement : tape.statements) {
    write_items(file, statement.text);
    write_items(file, statement.types);
    write_items(file, std::vector{statement.runs});
  }
  write_items(file, tape.steps);
  write_items(file, tape.values);
  write_items(file, tape.texts);
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

ServerTape load_server_tape(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  ServerTape tape;
  std::vector<std::uint64_t> counts;
  read_items(file, counts);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  tape.statements.resize(counts.front());
  std::size_t at = 0;
  for (const auto count : kCounts) tape.*count = counts[++at];
  for (ServerTape::Statement& statement : tape.statements) {
    std::vector<std::uint64_t> runs;
    read_items(file, statement.text);
    read_items(file, statement.types);
    read_items(file, runs);
    statement.runs = runs.front();
  }
  read_items(file, tape.steps);
  read_items(file, tape.values);
  read_items(file, tape.texts);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  return tape;
}

}  // namespace mercato::bench
