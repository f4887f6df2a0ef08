// SPDX-License-Identifier: Apache-2.0
// A database is kept for the tests that follow: emptying it costs a third of what making one costs. One whose
// definitions a test has changed is thrown away.
#include "tests/support/test_store.h"

#ifndef MERCATO_POSTGRES

namespace mercato::test {

TestStorePtr make_postgresql_store(const std::filesystem::path&, const std::string&, Tables) {
  throw std::runtime_error("this build leaves out stores on PostgreSQL");
}
TestStorePtr make_odbc_store(const std::filesystem::path&, const std::string&, Tables) {
  throw std::runtime_error("this build leaves out the server of these stores, PostgreSQL");
}

}  // namespace mercato::test

#else

#include <libpq-fe.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

#include "tests/support/odbc_stores.h"

namespace mercato::test {
namespace {

// One connection past the library, which knows the connection strings of the library.
class Connection {
 public:
  explicit Connection(const std::string& connection_string) {
    constexpr std::pair<const char*, const char*> kParameters[] = {
        {"Server", "host"},  {"Port", "port"},         {"Database", "dbname"},
        {"User ID", "user"}, {"Password", "password"}, {"SSL Mode", "sslmode"},
    };
    std::vector<const char*> names;
    std::vector<std::string> values;
    for (const auto& [property, parameter] : kParameters)
      if (const auto value = store::connection_property(connection_string, property)) {
        names.push_back(parameter);
        values.push_back(*value);
      }
    std::vector<const char*> texts;
    for (const std::string& value : values) texts.push_back(value.c_str());
    names.push_back(nullptr);
    texts.push_back(nullptr);
    connection_ = PQconnectdbParams(names.data(), texts.data(), 0);
    if (PQstatus(connection_) != CONNECTION_OK) {
      const std::string words = PQerrorMessage(connection_);
      PQfinish(connection_);
      throw std::runtime_error("the server of the tests: " + words);
    }
    // What exists already, and what goes on to other objects, is nobody's news.
    run("SET client_min_messages = warning");
  }
  ~Connection() { PQfinish(connection_); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Runs statements and returns the first field of the last one's first row, if any; throws the server's words.
  std::string run(const std::string& sql) const {
    const std::unique_ptr<PGresult, decltype(&PQclear)> result(PQexec(connection_, sql.c_str()), &PQclear);
    const ExecStatusType status = PQresultStatus(result.get());
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) throw std::runtime_error(PQerrorMessage(connection_));
    return PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
  }

 private:
  PGconn* connection_;
};

// The server of the tests: the one that is there, or a cluster that ends with the process.
class Server {
 public:
  Server() {
    if (const char* const given = std::getenv("MERCATO_TEST_SERVER")) {
      connection_string_ = given;
      return;
    }
    folder_.emplace();
    connection_string_ = run_script("start " + link() + " " + std::to_string(::getpid()));
  }
  ~Server() {
    if (folder_) run_script("stop " + link());
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  std::string database(const std::string& name) const { return connection_string_ + ";Database=" + name; }

 private:
  std::string link() const { return *folder_ / "cluster"; }
  static std::string run_script(const std::string& arguments) {
    FILE* const script =
        ::popen(("'" MERCATO_SOURCE_DIR "/tests/support/postgres_cluster' " + arguments + " 2>&1").c_str(), "r");
    std::string said;
    for (int character; (character = std::fgetc(script)) != EOF;) said += static_cast<char>(character);
    const int status = ::pclose(script);
    if (!said.empty() && said.back() == '\n') said.pop_back();
    if (status != 0) throw std::runtime_error(said);
    return said;
  }

  std::optional<TemporaryFolder> folder_;
  std::string connection_string_;
};

// Functions of one connection.
// Rows that stand in a new store are no test's: they, and the definitions, are what the state of a database is. A
// table that a TRUNCATE has given other files is the same table.
constexpr const char* kFunctions = R"sql(
CREATE TEMPORARY TABLE furnished (name text);

CREATE FUNCTION pg_temp.remember_rows() RETURNS void LANGUAGE plpgsql AS $$
DECLARE
  filled oid;
BEGIN
  FOR filled IN SELECT oid FROM pg_class WHERE relnamespace = current_schema()::regnamespace AND relkind = 'r'
    AND pg_relation_size(oid) > 0 LOOP
    INSERT INTO pg_temp.furnished VALUES (filled::regclass::text);
  END LOOP;
END $$;

CREATE FUNCTION pg_temp.state() RETURNS text LANGUAGE plpgsql AS $$
DECLARE
  state text;
  furnished text;
  rows text;
BEGIN
  state := concat_ws(' ',
    (SELECT concat_ws(' ', count(*), max(oid)) FROM pg_class WHERE relnamespace = current_schema()::regnamespace),
    (SELECT concat_ws(' ', count(*), sum(xmin::text::bigint)) FROM pg_attribute WHERE attrelid >= 16384),
    (SELECT concat_ws(' ', count(*), sum(xmin::text::bigint)) FROM pg_constraint WHERE oid >= 16384),
    (SELECT concat_ws(' ', count(*), sum(xmin::text::bigint)) FROM pg_trigger WHERE oid >= 16384),
    (SELECT concat_ws(' ', count(*), sum(xmin::text::bigint)) FROM pg_proc WHERE oid >= 16384));
  FOR furnished IN SELECT name FROM pg_temp.furnished LOOP
    IF to_regclass(furnished) IS NULL THEN
      RETURN 'without ' || furnished;
    END IF;
    EXECUTE format('SELECT md5(string_agg(t::text, '';'' ORDER BY t::text)) FROM %s t', furnished) INTO rows;
    state := concat_ws(' ', state, rows);
  END LOOP;
  RETURN state;
END $$;

CREATE FUNCTION pg_temp.empty_tables() RETURNS void LANGUAGE plpgsql AS $$
DECLARE
  used record;
  was_used boolean;
  filled text;
BEGIN
  SELECT string_agg(oid::regclass::text, ', ') INTO filled FROM pg_class
    WHERE relnamespace = current_schema()::regnamespace AND relkind = 'r' AND pg_relation_size(oid) > 0
      AND oid::regclass::text NOT IN (SELECT name FROM pg_temp.furnished);
  IF filled IS NOT NULL THEN
    EXECUTE 'TRUNCATE ' || filled;
  END IF;
  FOR used IN SELECT seqrelid::regclass AS name, seqstart AS first FROM pg_sequence LOOP
    EXECUTE format('SELECT is_called OR last_value <> %s FROM %s', used.first, used.name) INTO was_used;
    IF was_used THEN
      PERFORM setval(used.name, used.first, false);
    END IF;
  END LOOP;
END $$;

CREATE FUNCTION pg_temp.forget_lost_numbers() RETURNS void LANGUAGE plpgsql AS $$
DECLARE
  assigned record;
BEGIN
  FOR assigned IN SELECT d.objid::regclass AS sequence, d.refobjid::regclass AS owner, a.attname AS key
    FROM pg_depend d JOIN pg_sequence s ON s.seqrelid = d.objid
    JOIN pg_attribute a ON a.attrelid = d.refobjid AND a.attnum = d.refobjsubid
    WHERE d.classid = 'pg_class'::regclass AND d.deptype = 'i' LOOP
    EXECUTE format('SELECT setval(%L, greatest(max(%I), 0) + 1, false) FROM %s', assigned.sequence, assigned.key,
      assigned.owner);
  END LOOP;
END $$;

CREATE FUNCTION pg_temp.drop_tables() RETURNS void LANGUAGE plpgsql AS $$
DECLARE
  present text;
BEGIN
  SELECT string_agg(oid::regclass::text, ', ') INTO present FROM pg_class
    WHERE relnamespace = current_schema()::regnamespace AND relkind = 'r';
  IF present IS NOT NULL THEN
    EXECUTE 'DROP TABLE ' || present || ' CASCADE';
  END IF;
END $$;
)sql";

class Database {
 public:
  Database(const Server& server, std::string name, Tables tables)
      : server_(server), name_(std::move(name)), tables_(tables) {
    const Connection somewhere(server_.database("postgres"));
    somewhere.run("DROP DATABASE IF EXISTS " + name_ + " WITH (FORCE)");
    somewhere.run("CREATE DATABASE " + name_);
    connection_.emplace(connection_string());
    if (tables_ == Tables::all) create_tables(connection_string());
    // A session that a test has forgotten may hold a table.
    run("SET lock_timeout = '2s'");
    run(kFunctions);
    run("SELECT pg_temp.remember_rows()");
    state_ = state();
  }
  ~Database() {
    connection_.reset();
    try {
      Connection(server_.database("postgres")).run("DROP DATABASE " + name_ + " WITH (FORCE)");
    } catch (const std::exception& failure) {
      fprintf(stderr, "%s", failure.what());
    }
  }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  std::string connection_string() const { return server_.database(name_); }
  Tables tables() const { return tables_; }
  std::string run(const std::string& sql) const { return connection_->run(sql); }
  // Removes what a test has left; false when the database cannot serve another one.
  bool clean() const {
    for (const bool again : {false, true}) {
      try {
        run(tables_ == Tables::all ? "SELECT pg_temp.empty_tables()" : "SELECT pg_temp.drop_tables()");
        return tables_ == Tables::none || state() == state_;
      } catch (const std::runtime_error&) {
        if (again) throw;
        run("SELECT pg_terminate_backend(pid, 2000) FROM pg_stat_activity "
            "WHERE datname = current_database() AND pid <> pg_backend_pid()");
      }
    }
    return false;
  }

  bool is_free = false;

 private:
  std::string state() const { return run("SELECT pg_temp.state()"); }

  const Server& server_;
  std::string name_;
  Tables tables_;
  std::optional<Connection> connection_;
  std::string state_;
};

class PostgresqlStore : public TestStore {
 public:
  PostgresqlStore(Database& database, std::string connection_string)
      : TestStore(std::move(connection_string)), database_(database) {}
  ~PostgresqlStore() override { database_.is_free = true; }

  std::string impatient() const override { return connection_string() + ";Lock Timeout=0"; }
  void forget_lost_numbers() const override { database_.run("SELECT pg_temp.forget_lost_numbers()"); }
  store::StoreDescription description() const override {
    store::StoreDescription description;
    description.engine = "PostgreSQL";
    description.version = database_.run("SELECT split_part(current_setting('server_version'), ' ', 1)");
    description.place = store::connection_property(connection_string(), "Server").value_or("") + ":" +
                        database_.run("SELECT current_setting('port')") + ", database " +
                        database_.run("SELECT current_database()") + ", schema public";
    description.collation =
        "mercato, ICU " + database_.run("SELECT collversion FROM pg_collation WHERE collname = 'mercato'");
    description.text_search = "GIN, trigrams";
    return description;
  }
  bool can_refuse() const override { return true; }
  void refuse(const Refusal& refusal) const override {
    const std::string row = refusal.operation == "DELETE" ? "OLD" : "NEW";
    const std::string condition =
        refusal.column.empty() ? "" : "WHEN (" + row + ".\"" + refusal.column + "\" = " + refusal.value + ") ";
    database_.run(
        "CREATE FUNCTION refuse_row() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN "
        "RAISE EXCEPTION 'row refused on request' USING ERRCODE = 'integrity_constraint_violation'; END $$; "
        "CREATE TRIGGER refused_rows BEFORE " +
        refusal.operation + " ON \"" + refusal.table + "\" FOR EACH ROW " + condition +
        "EXECUTE FUNCTION refuse_row()");
  }
  void refuse_no_more() const override { database_.run("DROP FUNCTION refuse_row() CASCADE"); }

 private:
  Database& database_;
};

class Databases {
 public:
  // A test may need several.
  Database& take(Tables tables) {
    for (auto database = databases_.begin(); database != databases_.end();) {
      if (!(*database)->is_free || (*database)->tables() != tables) {
        ++database;
      } else if ((*database)->clean()) {
        (*database)->is_free = false;
        return **database;
      } else {
        database = databases_.erase(database);
      }
    }
    const std::string name = "mercato_test_" + std::to_string(::getpid()) + "_" + std::to_string(++made_);
    return *databases_.emplace_back(std::make_unique<Database>(server_, name, tables));
  }

 private:
  Server server_;
  std::vector<std::unique_ptr<Database> > databases_;
  int made_ = 0;
};

Database& take_database(Tables tables) {
  static Databases databases;
  return databases.take(tables);
}

}  // namespace

TestStorePtr make_postgresql_store(const std::filesystem::path&, const std::string&, Tables tables) {
  Database& database = take_database(tables);
  return std::make_unique<PostgresqlStore>(database, database.connection_string());
}

TestStorePtr make_odbc_store(const std::filesystem::path&, const std::string&, Tables tables) {
  Database& database = take_database(tables);
  return std::make_unique<PostgresqlStore>(database, through_odbc(database.connection_string()));
}

}  // namespace mercato::test

#endif
