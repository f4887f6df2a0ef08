// SPDX-License-Identifier: Apache-2.0
// A store on a server under many users at once, and under deaths at random moments: of the client, of the server's process
// that serves it, of the whole server. What a call has acknowledged is there, what was being done is there whole or not
// at all, and nobody is left holding anything.
//   MERCATO_TEST_SECONDS   how long the users work, a minute unless said
//   MERCATO_TEST_KILLS     deaths of each kind, a hundred unless said
#include <sys/mman.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <new>
#include <random>

#include "frame/store_copy.h"
#include "mercato/object_context.h"
#include "mercato/product_xml.h"
#include "mercato/server.h"
#include "mercato/settings.h"
#include "mercato/t_catalog.h"
#include "mercato/table_creation.h"
#include "platform/store/unit_of_work.h"
#include "tests/platform/store/postgres/own_cluster.h"
#include "tests/support/another_process.h"

namespace mercato::store::postgres::test {
namespace {

int number_of(const char* name, int usual) {
  const char* const given = std::getenv(name);
  return given == nullptr ? usual : std::atoi(given);
}

// Memory that the processes share.
template <class T>
class Shared {
 public:
  Shared() : value_(new (::mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) T{}) {}
  ~Shared() { ::munmap(value_, sizeof(T)); }
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;
  T* operator->() const { return value_; }
  T& operator*() const { return *value_; }

 private:
  T* value_;
};

class ServerStore : public OwnClusterTest {
 protected:
  void SetUp() override {
    OwnClusterTest::SetUp();
    if (IsSkipped()) return;
    DllRegisterServer();
    collaborators::Settings settings;
    settings.connections["Mercato"] = store();
    settings.web_root = (folder_ / "web");
    std::filesystem::create_directory(settings.web_root);
    collaborators::set_settings(settings);
    create_tables(store());
    const auto session = open();
    run(*session, "INSERT UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('PC', 'Piece')");
    run(*session, "INSERT USERS (USERID, ISACTIVE, ISBUYER) VALUES ('ann', 1, 1)");
    // Two catalogues with a product each, of the same part number, and users who favour the one or the other.
    for (const char* const number : {"1", "2"}) {
      const std::string id = number;
      run(*session, "INSERT INTO CATALOG (CATALOGNAME, ACTIVE) VALUES ('catalogue " + id + "', 1)");
      run(*session, "INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('category " + id + "')");
      run(*session, "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES ('P', 'product')");
      run(*session,
          "INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (" + id + ", " + id + ", 1)");
      run(*session, "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE, CATEGORYID) VALUES (" + id +
                        ", 'shelf', 1, " + id + ")");
      run(*session, "INSERT INTO CATALOGNODE (CATALOGID, NODENAME, NODETYPE) VALUES (" + id + ", 'folder', 0)");
    }
    run(*session,
        "INSERT INTO FAVORITES (USERID, PRODUCTID, FOLDERID, PRESENT) VALUES ('ann', 1, 0, 1), ('bob', 1, 0, 1)");
    run(*session,
        "INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID) VALUES ('ann', 1, NULL), ('bob', 1, NULL), ('cyd', "
        "1, NULL)");
    run(*session, "CREATE TABLE PAIRS (ID int NOT NULL PRIMARY KEY, HALF int NOT NULL)");
  }

  // One upload: as many products as part numbers, with a property each.
  static void upload(const std::vector<std::string>& part_numbers) {
    std::string records;
    Array numbers;
    for (const std::string& part_number : part_numbers) {
      records += "<Product buyfrompartnumber=\"" + part_number +
                 "\"><UNIT>PC</UNIT><PRODUCTDESCRIPTION>Pen</PRODUCTDESCRIPTION><PARTNUMBER>A1</PARTNUMBER>"
                 "<BUYERID>ann</BUYERID><MULTIPLEBUYER>1</MULTIPLEBUYER><COLOUR>red</COLOUR></Product>";
      numbers.items.emplace_back(part_number);
    }
    ProductXML().insertProductsFromXML("k/\\<PRODUCTS>" + records + "</PRODUCTS>", false, numbers, false);
  }
  // Two rows that stand together or not at all.
  void insert_pair(int number) const {
    UnitOfWork unit(UnitOfWork::Kind::transaction);
    run(unit.session(store()), "INSERT INTO PAIRS (ID, HALF) VALUES (" + std::to_string(2 * number) + ", 1)");
    run(unit.session(store()), "INSERT INTO PAIRS (ID, HALF) VALUES (" + std::to_string(2 * number + 1) + ", 2)");
    unit.commit();
  }
  static void copy_catalog() {
    Root<TCatalog> catalog;
    catalog->CopyCatalog(1, 1, "");
  }
  // Rights and favourites, to the other catalogue and back. A favourite goes where its user may order, and is lost
  // elsewhere: so rights go first, and what a death has left half-way is gone on with.
  void migrate() {
    const auto place_of = [this](const char* statement) { return query(*open(), statement).at(0).at(0).to_long(); };
    for (int i = 0; i < 2; ++i) {
      std::int32_t held = place_of("SELECT CATALOGID FROM CATALOGNODEBYUSER");
      std::int32_t favored = place_of("SELECT PRODUCTID FROM FAVORITES"), other = 3 - favored;
      if (held == favored) {
        Root<TCatalog> rights;
        rights->ChangeAuthorizationsForUser(held, other);
      }
      Root<TCatalog> favorites;
      favorites->ChangeFavorites(favored, other);
    }
  }
  int count(const std::string& condition) const { return std::stoi(as_owner("SELECT count(*) FROM " + condition)); }
  void expect_whole() const {
    EXPECT_EQ(as_owner("SELECT count(*) FILTER (WHERE \"HALF\" = 1) = count(*) FILTER (WHERE \"HALF\" = 2) AND "
                       "count(DISTINCT \"ID\" / 2) * 2 = count(*) FROM \"PAIRS\""),
              "t");
    EXPECT_EQ(count("\"PRODUCT\" WHERE \"PARTNUMBER\" <> 'P' AND (\"PARTNUMBER\" <> 'A1' OR \"USERID\" <> 'ann' OR "
                    "\"DATEUPDATED\" IS NULL)"),
              0);
    EXPECT_EQ(count("\"CATALOG\" C WHERE (SELECT count(*) FROM \"CATALOGNODE\" N WHERE N.\"CATALOGID\" = "
                    "C.\"CATALOGID\") <> 2"),
              0);
    EXPECT_EQ(as_owner("SELECT count(*) || ' of ' || count(DISTINCT \"PRODUCTID\") FROM \"FAVORITES\""), "2 of 1");
    EXPECT_EQ(as_owner("SELECT count(*) || ' of ' || count(DISTINCT \"CATALOGID\") FROM \"CATALOGNODEBYUSER\""),
              "3 of 1");
    EXPECT_EQ(count("\"PRODUCTPROPVALUE\" V WHERE NOT EXISTS (SELECT FROM \"PRODUCT\" P WHERE P.\"PRODUCTID\" = "
                    "V.\"PRODUCTID\")"),
              0);
    EXPECT_EQ(count("(SELECT \"BUYFROMPARTNUMBER\" FROM \"PRODUCT\" WHERE \"PARTNUMBER\" <> 'P' GROUP BY 1 HAVING "
                    "count(*) > 1) AS doubles"),
              0);
  }
  void expect_nobody_left() const {
    EXPECT_TRUE(comes_true([&] { return count_of("true") == "0"; })) << "sessions are left";
    EXPECT_EQ(
        count("pg_locks WHERE pid <> pg_backend_pid() AND database = (SELECT oid FROM pg_database WHERE datname = "
              "current_database())"),
        0);
  }

  mercato::test::TemporaryFolder folder_;
};

// Processes of their own

constexpr int kUsers = 8;
struct Counters {
  std::array<std::atomic<int>, kUsers> uploads, pairs;
  std::atomic<int> reads, refusals, failures;
  std::array<char, 400> failure;
};

TEST_F(ServerStore, ConcurrentWritersAndReadersLoseNothing) {
  const int seconds = number_of("MERCATO_TEST_SECONDS", 60);
  const Shared<Counters> counters;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  const auto failed = [&](const RaisedError& failure) {
    // The one refusal that the interface names for two that are at the same rows.
    const bool is_named = failure.Number == error_number::kStoreFailure &&
                          (failure.Description.find("Two transactions waited for each other") != std::string::npos ||
                           failure.Description.find("did not let go of it in time") != std::string::npos);
    if (is_named) {
      ++counters->refusals;
    } else if (++counters->failures == 1) {
      failure.Description.copy(counters->failure.data(), counters->failure.size() - 1);
    }
  };
  const auto write = [&](int user) {
    for (int number = 0; std::chrono::steady_clock::now() < end; ++number) {
      try {
        upload({"U" + std::to_string(user) + "-" + std::to_string(number)});
        ++counters->uploads[static_cast<std::size_t>(user)];
        insert_pair(user * 10000000 + number);
        ++counters->pairs[static_cast<std::size_t>(user)];
      } catch (const Raised& raised) {
        failed(raised.error());
      }
    }
  };
  const auto read = [&](int user) {
    while (std::chrono::steady_clock::now() < end) {
      try {
        const auto session = acquire_session(store());
        query(*session.get(),
              "SELECT TOP 50 * FROM PRODUCT WHERE BUYFROMPARTNUMBER LIKE 'u" + std::to_string(user) + "%'");
        const auto rows = query(*session.get(), "SELECT COUNT(*) FROM PAIRS");
        if (rows.at(0).at(0).to_long() % 2 != 0) {
          failed({1, {}, "half of a pair was seen", {}, 0});
        }
        ++counters->reads;
      } catch (const Raised& raised) {
        failed(raised.error());
      }
    }
  };
  close_idle_sessions();
  std::vector<pid_t> processes;
  for (int user = 0; user < 2 * kUsers; ++user) {
    const pid_t child = ::fork();
    if (child == 0) {
      user < kUsers ? write(user) : read(user - kUsers);
      ::_exit(0);
    }
    processes.push_back(child);
  }
  for (const pid_t process : processes) {
    int status = 0;
    EXPECT_EQ(::waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0);
  }
  int uploads = 0, pairs = 0;
  for (std::size_t user = 0; user < kUsers; ++user) {
    uploads += counters->uploads[user];
    pairs += counters->pairs[user];
    EXPECT_EQ(count("\"PRODUCT\" WHERE \"BUYFROMPARTNUMBER\" LIKE 'U" + std::to_string(user) + "-%'"),
              counters->uploads[user]);
  }
  std::cout << "[ figures  ] " << seconds << " s: " << uploads << " uploads, " << pairs << " transactions, "
            << counters->reads << " reads, " << counters->refusals << " named refusals, " << counters->failures
            << " other failures" << std::endl;
  EXPECT_EQ(counters->failures, 0) << counters->failure.data();
  EXPECT_EQ(count("\"PAIRS\""), 2 * pairs);
  EXPECT_GT(pairs, 0);
  EXPECT_GT(counters->reads, 0);
  expect_whole();
  expect_nobody_left();
}

// Deaths

class ServerStoreKilled : public ServerStore {
 protected:
  static constexpr int kMost = 100000;
  struct Acknowledged {
    std::array<std::atomic<bool>, kMost> upload, pair;
    std::atomic<int> next, copies, migrations;
  };

  // A process works until the death comes, or its end.
  void die_again_and_again(const std::function<void(pid_t)>& death) {
    const int deaths = number_of("MERCATO_TEST_KILLS", 100);
    const Shared<Acknowledged> acknowledged;
    std::mt19937 random(static_cast<unsigned>(number_of("MERCATO_TEST_SEED", 20260704)));
    int interrupted = 0;
    for (int round = 0; round < deaths && !HasFailure(); ++round) {
      close_idle_sessions();
      const pid_t child = ::fork();
      if (child == 0) {
        try {
          for (int i = 0; i < 200; ++i) {
            const int number = acknowledged->next++;
            const auto at = static_cast<std::size_t>(number);
            upload({"a" + std::to_string(number), "b" + std::to_string(number), "c" + std::to_string(number)});
            acknowledged->upload[at] = true;
            insert_pair(number);
            acknowledged->pair[at] = true;
            copy_catalog();
            ++acknowledged->copies;
            migrate();
            ++acknowledged->migrations;
          }
        } catch (const Raised&) {
          ::_exit(3);
        } catch (const std::exception& failed) {
          std::cerr << failed.what() << std::endl;
          ::_exit(4);
        }
        ::_exit(0);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50 + static_cast<int>(random() % 1500)));
      death(child);
      int status = 0;
      ASSERT_EQ(::waitpid(child, &status, 0), child);
      if (status != 0) ++interrupted;
      // What the dead one had sent may still be carried out.
      EXPECT_TRUE(comes_true([&] { return count_of("true") == "0"; })) << "sessions are left";
    }
    int uploads = 0, pairs = 0;
    for (std::size_t number = 0; number < static_cast<std::size_t>(acknowledged->next); ++number) {
      if (acknowledged->pair[number]) {
        ++pairs;
        EXPECT_EQ(count("\"PAIRS\" WHERE \"ID\" / 2 = " + std::to_string(number)), 2);
      }
      if (acknowledged->upload[number]) {
        ++uploads;
        EXPECT_EQ(count("\"PRODUCT\" WHERE \"BUYFROMPARTNUMBER\" IN ('a" + std::to_string(number) + "', 'b" +
                        std::to_string(number) + "', 'c" + std::to_string(number) + "')"),
                  3);
      }
    }
    std::cout << "[ figures  ] " << deaths << " deaths, " << interrupted << " in the middle of work; " << uploads
              << " uploads and " << pairs << " transactions acknowledged, all there" << std::endl;
    std::cout << "[ figures  ] " << acknowledged->copies << " copies acknowledged, " << count("\"CATALOG\"") - 2
              << " are there; " << acknowledged->migrations << " migrations there and back" << std::endl;
    EXPECT_GE(count("\"CATALOG\"") - 2, acknowledged->copies);
    EXPECT_GT(acknowledged->copies, 0);
    EXPECT_GT(interrupted, deaths / 2) << "most work was over before";
    EXPECT_GT(pairs, 0);
    expect_whole();
    expect_nobody_left();
  }
};

TEST_F(ServerStoreKilled, TheClientAtAnyMoment) {
  die_again_and_again([](pid_t client) { ::kill(client, SIGKILL); });
}

TEST_F(ServerStoreKilled, TheProcessOfTheServerAtAnyMoment) {
  die_again_and_again([this](pid_t) { end_backends(); });
}

TEST_F(ServerStoreKilled, TheServerAtAnyMoment) {
  die_again_and_again([](pid_t) { cluster().control("restart --mode=immediate"); });
}

// Copies into a store on the same server: one that was interrupted is gone on with, and has all rows then.
class ServerCopyKilled : public ServerStore {
 protected:
  void copy_again_and_again(const std::function<void(pid_t)>& death) {
    as_owner(
        "INSERT INTO \"PRODUCT\" (\"PARTNUMBER\", \"PRODUCTDESCRIPTION\") SELECT 'P' || n, repeat('d', 100) FROM "
        "generate_series(1, 5000) n; INSERT INTO \"PRODUCTPROPVALUE\" (\"PROPERTYID\", \"PRODUCTID\", \"VALUE\") "
        "SELECT "
        "p, n, 'red' FROM generate_series(1, 3) p, generate_series(1, 5000) n");
    cluster().run("CREATE DATABASE " + target() + " OWNER mercato");
    // How far a copy is: it tells its observer now and then.
    const Shared<std::atomic<int>> steps;
    const auto copy = [&] {
      *steps = 0;
      return copy_store(store(), cluster().store(target()), [&](auto...) { ++*steps; });
    };
    const std::vector<CopiedTable> expected = copy().tables;
    const unsigned usual = static_cast<unsigned>(*steps);
    const int deaths = number_of("MERCATO_TEST_KILLS", 100);
    std::mt19937 random(static_cast<unsigned>(number_of("MERCATO_TEST_SEED", 20260704)));
    int interrupted = 0, continued = 0;
    for (int round = 0; round < deaths && !HasFailure(); ++round) {
      close_idle_sessions();
      // Without force: nobody may be left in it.
      EXPECT_TRUE(comes_true([&] { return sessions_in_target() == "0"; })) << "sessions are left";
      cluster().run("DROP DATABASE " + target());
      cluster().run("CREATE DATABASE " + target() + " OWNER mercato");
      *steps = 0;
      const pid_t child = ::fork();
      if (child == 0) {
        try {
          copy();
        } catch (const Raised&) {
          ::_exit(3);
        }
        ::_exit(0);
      }
      const int moment = static_cast<int>(random() % usual);
      int status = 0;
      pid_t ended = 0;
      while (*steps < moment && (ended = ::waitpid(child, &status, WNOHANG)) == 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      std::this_thread::sleep_for(std::chrono::milliseconds(random() % 20));
      if (ended == 0) {
        death(child);
        ASSERT_EQ(::waitpid(child, &status, 0), child);
      }
      if (status == 0) continue;
      ++interrupted;
      // Death may have come when all was done.
      if (is_finished()) {
        EXPECT_EQ(cluster().run("SELECT count(*) FROM \"PRODUCT\"", target()), "5002");
        continue;
      }
      const StoreCopy done = copy();
      EXPECT_EQ(done.tables, expected);
      if (done.continued) ++continued;
    }
    std::cout << "[ figures  ] " << deaths << " deaths, " << interrupted << " in the middle of a copy, " << continued
              << " copies gone on with; counts and checksums agree" << std::endl;
    EXPECT_GT(interrupted, deaths / 2) << "most copies were over before";
    EXPECT_GT(continued, 0);
    close_idle_sessions();
    cluster().run("DROP DATABASE " + target() + " WITH (FORCE)");
    expect_nobody_left();
  }
  std::string target() const { return database() + "_copy"; }
  std::string sessions_in_target() const {
    return as_owner("SELECT count(*) FROM pg_stat_activity WHERE datname = '" + target() + "'");
  }
  // The table that marks a copy goes at its end.
  bool is_finished() const {
    return cluster().run("SELECT to_regclass('\"MERCATO_COPY\"') IS NULL AND to_regclass('\"PRODUCT\"') IS NOT NULL",
                         target()) == "t" &&
           cluster().run("SELECT count(*) > 0 FROM \"PRODUCT\"", target()) == "t";
  }
};

TEST_F(ServerCopyKilled, TheClientAtAnyMoment) {
  copy_again_and_again([](pid_t client) { ::kill(client, SIGKILL); });
}

TEST_F(ServerCopyKilled, TheProcessOfTheServerAtAnyMoment) {
  copy_again_and_again([](pid_t) {
    cluster().run("SELECT pg_terminate_backend(pid, 10000) FROM pg_stat_activity WHERE usename = 'mercato'");
  });
}

TEST_F(ServerCopyKilled, TheServerAtAnyMoment) {
  copy_again_and_again([](pid_t) { cluster().control("restart --mode=immediate"); });
}

}  // namespace
}  // namespace mercato::store::postgres::test
