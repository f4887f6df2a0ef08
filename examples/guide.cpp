// SPDX-License-Identifier: Apache-2.0
// Failures, transactions across calls, threads and a component of the host's own: a whole program against the installed
// library, on a store that new_store has made.
//
//   guide STORE
#include <atomic>
#include <iostream>
#include <thread>
#include <vector>

#include "mercato/mercato.h"

namespace {

// What the library tells of failures goes to standard output here, and not to a file.
class HostsLog : public mercato::ComponentOf<HostsLog> {
 public:
  static const mercato::ClassTable& table() {
    static const mercato::ClassTable table =
        mercato::ClassTable::of<HostsLog>("Grundwerk.Log", "{6D1C7A52-0B7E-4C8B-9E43-5D0F2A917C11}",
                                          mercato::TransactionAttribute::none)
            .method("WriteEntry", &HostsLog::WriteEntry, {"source", "text", "severity"})
            .method("WriteEntryAlternate", &HostsLog::WriteEntry, {"source", "text", "severity"})
            .collaborator()
            .never_waits();
    return table;
  }
  mercato::Variant WriteEntry(std::string& source, std::string&, std::int32_t&) {
    std::cout << "logged: " << source << "\n";
    return {};
  }
};

// Two products, or none.
class Pair : public mercato::ComponentOf<Pair> {
 public:
  static const mercato::ClassTable& table() {
    static const mercato::ClassTable table =
        mercato::ClassTable::of<Pair>("Host.Pair", "{0F0B3C8E-7A55-4E0B-8C6B-3B1E6A0D9C27}",
                                      mercato::TransactionAttribute::required)
            .method("File", &Pair::File, {"first", "second"});
    return table;
  }
  bool File(const std::string& first, const std::string& second) {
    mercato::ObjectContext* context = mercato::GetObjectContext();
    context->SetAbort();  // until both are there
    for (const std::string& description : {first, second}) {
      const mercato::ComponentPtr product = context->CreateInstance("Mercato.Product");
      const mercato::Variant id = mercato::invoke(
          product, "Insert20",
          {mercato::Array{"PARTNUMBER", "PRODUCTDESCRIPTION"}, mercato::Array{"P-" + description, description}});
      if (id.to_long() == -1) return false;  // Insert20 refuses without a failure: here an empty description
    }
    context->SetComplete();
    return true;
  }
};

void show_failures() {
  mercato::Root<mercato::Product> product;
  try {
    product->GetProductEx(99);
  } catch (const mercato::Raised& failure) {
    if (failure.error().Number != mercato::eProductNotFound) throw;
    std::cout << "there is no product 99\n";
  }
  try {
    product->Insert20(mercato::Array{"PARTNUMBER", "NOPE"}, mercato::Array{"P-0", "x"});
  } catch (const mercato::Raised& failure) {
    std::cout << failure.error().Source << " raised " << failure.error().Number << "\n";
  }
}

void file_pairs() {
  mercato::Root<Pair> pair;
  for (const std::string second : {"pencil", ""}) {
    const bool filed = pair->File("pen", second);
    const mercato::Outcome outcome = pair.context().outcome_of_last_call();
    std::cout << (filed ? "filed" : "refused") << ", "
              << (outcome == mercato::Outcome::committed ? "committed" : "taken back") << "\n";
  }
}

void read_side_by_side() {
  std::atomic<int> found = 0;
  std::vector<std::jthread> readers;
  for (int number = 0; number < 4; ++number)
    readers.emplace_back([&found] {
      mercato::Root<mercato::Product> product;  // of this thread
      if (product->GetProductIdFromPartNumSource("P-pen") != -1) ++found;
    });
  readers.clear();  // waits for all of them
  std::cout << found << " threads have found it\n";
}

}  // namespace

int main(int argument_count, char** arguments) {
  if (argument_count != 2) {
    std::cerr << "usage: guide STORE\n";
    return 2;
  }
  try {
    mercato::collaborators::Settings settings;
    settings.connections["Mercato"] = "Provider=SQLite;Data Source=" + std::string(arguments[1]);
    mercato::collaborators::set_settings(settings);
    mercato::register_class(HostsLog::table());
    mercato::register_class(Pair::table());
    DllRegisterServer();

    show_failures();
    file_pairs();
    read_side_by_side();
    return 0;
  } catch (const mercato::Raised& failure) {
    std::cerr << failure.error().Source << ": " << failure.error().Description << "\n";
    return 1;
  }
}
