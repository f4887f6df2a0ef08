// SPDX-License-Identifier: Apache-2.0
// An upload and the same statements by hand, in turn, each in a process and on a fresh copy of a store of its own.
#pragma once

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bench/support/bench_store.h"
#include "bench/support/by_hand.h"
#include "bench/support/child_process.h"
#include "bench/support/cost.h"
#include "bench/support/work_on_copy.h"
#include "platform/store/session_pool.h"

namespace mercato::bench {

// Where the files of a comparison lie.
struct UploadFiles {
  explicit UploadFiles(std::filesystem::path in) : folder(std::move(in)) {}

  std::filesystem::path folder;
  std::filesystem::path first_store = folder / "first.db";  // what every run begins with
  std::filesystem::path store = folder / "store.db";
  std::filesystem::path web_root = folder / "web";
  std::filesystem::path document = folder / "document.xml";
  std::filesystem::path part_numbers = folder / "part_numbers.txt";
  std::filesystem::path tape = folder / "tape";

  void write_part_numbers(const std::vector<std::string>& all) const {
    std::ofstream list(part_numbers);
    for (const std::string& part_number : all) list << part_number << '\n';
    if (!list.flush()) throw std::runtime_error("the part numbers cannot be written");
  }
  std::vector<std::string> read_part_numbers() const {
    std::vector<std::string> all;
    std::ifstream list(part_numbers);
    for (std::string line; std::getline(list, line);) all.push_back(line);
    return all;
  }
};

// `upload_all` uploads the whole document and returns how many calls it took; `contents_of` tells what a store holds.
template <class Contents>
class ComparedUpload {
 public:
  using UploadCost = Cost<Contents>;
  using UploadAll = std::size_t (*)(const std::filesystem::path& document, const std::filesystem::path& web_root,
                                    const std::vector<std::string>& part_numbers);
  using ContentsOf = Contents (*)(const std::filesystem::path& store);

  // The medians by the clock.
  struct Costs {
    UploadCost recorded;  // its contents only: a recorded run is slow
    UploadCost whole;
    UploadCost each_statement;
    UploadCost once;
  };

  ComparedUpload(const UploadFiles& files, UploadAll upload_all, ContentsOf contents_of)
      : files_(files), upload_all_(upload_all), contents_of_(contents_of) {}

  // Runs by hand and runs of the library take turns, so that a busy machine disturbs both alike. Throws when two
  // runs leave different contents behind.
  Costs run(std::size_t rounds) const {
    const UploadCost recorded = in_child_process([&] { return upload(true); });
    std::vector<UploadCost> whole, each_statement, once;
    for (std::size_t round = 0; round < rounds; ++round) {
      whole.push_back(in_child_process([&] { return upload(false); }));
      each_statement.push_back(in_child_process([&] { return by_hand(Committing::each_statement); }));
      once.push_back(in_child_process([&] { return by_hand(Committing::once); }));
      for (const auto* costs : {&whole, &each_statement, &once})
        if (costs->back().contents != recorded.contents)
          throw std::runtime_error("the runs left different stores behind");
    }
    return {recorded, median(std::move(whole)), median(std::move(each_statement)), median(std::move(once))};
  }

 private:
  static UploadCost median(std::vector<UploadCost> costs) {
    std::ranges::sort(costs, {}, &UploadCost::seconds);
    return costs[costs.size() / 2];
  }

  UploadCost upload(bool recording) const {
    copy_store(files_.first_store, files_.store);
    const std::vector<std::string> part_numbers = files_.read_part_numbers();
    std::filesystem::create_directories(files_.web_root);
    use_store(files_.store, files_.web_root);
    UploadCost cost;
    if (recording) {
      const Recording recorded;
      upload_all_(files_.document, files_.web_root, part_numbers);
      save_tape(recorded.tape(), files_.tape);
    } else {
      cost = measure<Contents>([&](UploadCost& measured) {
        measured.calls = static_cast<double>(upload_all_(files_.document, files_.web_root, part_numbers));
      });
    }
    store::close_idle_sessions();
    cost.contents = contents_of_(files_.store);
    return cost;
  }

  UploadCost by_hand(Committing committing) const {
    copy_store(files_.first_store, files_.store);
    const Tape tape = load_tape(files_.tape);
    UploadCost cost = measure<Contents>([&](UploadCost&) { play(tape, files_.store, committing); });
    cost.contents = contents_of_(files_.store);
    return cost;
  }

  const UploadFiles& files_;
  UploadAll upload_all_;
  ContentsOf contents_of_;
};

}  // namespace mercato::bench
