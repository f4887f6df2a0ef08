// SPDX-License-Identifier: Apache-2.0
// Each allocation of a call fails once, and from then on, for a list of calls that stands for all. The call then fails
// as one without memory, or does what it always does; the store is whole; and the same call succeeds afterwards.
//
// Where a call has many allocations, a sample of them is tried, the same one each time. MERCATO_ALLOCATIONS=all
// tries each of them, MERCATO_TEST_SEED=N another sample.
#include <sqlite3.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <memory>
#include <random>
#include <set>
#include <sstream>

#include "frame/lib_mts.h"
#include "frame/lib_sql.h"
#include "frame/method.h"
#include "mercato/clock.h"
#include "mercato/collection.h"
#include "mercato/dictionary.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/product.h"
#include "platform/files/files.h"
#include "platform/spreadsheet/workbook.h"
#include "platform/store/dialect/dialect.h"
#include "platform/store/sqlite/functions.h"
#include "platform/store/statement_observer.h"
#include "platform/xml/document.h"
#include "platform/xml/schema.h"
#include "tests/allocation/failing_allocations.h"
#include "tests/support/length_of_run.h"
#include "tests/support/store_fixture.h"
#include "tests/support/workbook_files.h"

namespace mercato::test {
namespace {

std::string read_whole(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string sample(const std::string& name) { return std::string(MERCATO_SOURCE_DIR) + "/samples/" + name; }

bool tries_all() {
  const char* const wish = std::getenv("MERCATO_ALLOCATIONS");
  return wish && std::string_view(wish) == "all";
}

unsigned seed() {
  static const unsigned chosen = mercato::test::seed_of_run(20261122);
  return chosen;
}

// What a call answers, as one text to compare.
std::string shown(const Variant& value) {
  if (value.is_null()) return "null";
  if (value.is_array()) {
    std::string text = "[";
    for (const Variant& item : value.array_value().items) text += shown(item) + ",";
    return text + "]";
  }
  if (!value.is_object()) return value.is_missing() ? "missing" : value.to_text();
  std::string text = "{";
  if (const auto* dictionary = dynamic_cast<const Dictionary*>(value.object_value().get()))
    dictionary->for_each(
        [&](const Variant& key, const Variant& item) { text += shown(key) + ":" + shown(item) + ","; });
  return text + "}";
}

// A call by name, and what it answers. Only the call itself may have to be told that there is no memory: what the test
// needs for itself is not in question.
using Work = std::function<std::string()>;
Work call_of(const char* prog_id, const char* method, std::vector<Variant> arguments) {
  return [prog_id, method, arguments] {
    std::vector<Variant> values = raising_out_of_memory([&] { return arguments; });
    const Variant answer = invoke(create_root(prog_id), method, values);
    stop_failing();
    std::string text = shown(answer);
    for (const Variant& value : values) text += " " + shown(value);
    return text;
  };
}

class AllocationFailure : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    MERCATO_ONLY_ON_SQLITE(store(), "the engine's own allocations fail, too, and the store is brought back as a file");
    spare_libxml2(false);
    clock::script_clock(*Date::parse("7/1/2026 8:30:00 AM"), 0);  // rows that are stamped are the same each time
    for (const char* script : {"reference.sql", "house_catalog.sql"}) {
      const std::string text = read_whole(sample(script));
      for (const std::string_view statement : store::dialect::split_script(text)) execute({std::string(statement)});
    }
    execute({"INSERT PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER) VALUES ('M-1', 'Paper', 'QM-1')",
             "INSERT PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER) VALUES ('M-2', 'Pen', 'QM-2')"});
    store::close_idle_sessions();
    std::filesystem::copy_file(store_path(), folder() / "prepared.db");
  }

  // Brings the store back to what it was before the call.
  void begin_again() const {
    forget_thread_state();
    store::close_idle_sessions();
    for (const char* end : {"-wal", "-shm"}) std::filesystem::remove(store_path().string() + end);
    std::filesystem::copy_file(folder() / "prepared.db", store_path(),
                               std::filesystem::copy_options::overwrite_existing);
  }

  // What the engine itself says of the store.
  std::string integrity() const {
    sqlite3* engine = nullptr;
    sqlite3_open(store_path().c_str(), &engine);
    store::sqlite::register_functions(engine);  // the indexes are in the library's order of texts
    std::string said;
    sqlite3_exec(
        engine, "PRAGMA integrity_check",
        [](void* out, int, char** columns, char**) {
          *static_cast<std::string*>(out) += columns[0];
          return 0;
        },
        &said, nullptr);
    sqlite3_close(engine);
    return said;
  }

  // Which allocations fail: the first ones, and some or all of the others.
  static std::set<std::int64_t> chosen(std::int64_t allocations) {
#ifdef MERCATO_SANITIZED  // which makes each attempt seven times as long
    constexpr std::int64_t kFirst = 20, kSample = 20;
#else
    constexpr std::int64_t kFirst = 20, kSample = 60;
#endif
    std::set<std::int64_t> numbers;
    for (std::int64_t nth = 1; nth <= (tries_all() ? allocations : std::min(kFirst, allocations)); ++nth)
      numbers.insert(nth);
    std::mt19937 random(seed());
    std::uniform_int_distribution<std::int64_t> any(1, allocations);
    for (std::int64_t more = 0; more < kSample; ++more) numbers.insert(any(random));
    return numbers;
  }

  enum class Wrote { whatever, nothing, nothing_or_all };

  // `work` answers what has to be the same whenever it does not fail. `wrote`: what a failed call leaves.
  void check(const Work& work, Wrote wrote, const std::set<std::int32_t>& also_fails_with = {}) {
    begin_again();
    const std::string expected = work();  // what is made once for the process is there from now on
    begin_again();
    const auto rows_before = all_rows();
    begin_again();
    std::int64_t allocations = 0;
    {
      const FailingAllocations counting(0, Failing::once);
      work();
      allocations = allocations_asked_for();
    }
    const auto rows_after = all_rows();
    ASSERT_GT(allocations, 0);
    std::size_t failures = 0;
    for (const Failing how : {Failing::once, Failing::from_then_on}) {
      for (const std::int64_t nth : chosen(allocations)) {
        begin_again();
        SCOPED_TRACE("allocation " + std::to_string(nth) + " of " + std::to_string(allocations) +
                     (how == Failing::once ? " failed once" : " failed, and all later ones"));
        if (std::getenv("MERCATO_ALLOCATION_TRACE")) std::cerr << nth << (how == Failing::once ? "" : "+") << std::endl;
        std::string answer;
        std::int32_t raised = 0;
        std::string words;
        {
          const FailingAllocations failing(nth, how);
          try {
            answer = work();
          } catch (const Raised& failure) {
            raised = failure.error().Number;
            try {
              words = failure.error().Description;
            } catch (const std::bad_alloc&) {
            }
          } catch (const std::bad_alloc&) {
            raised = -1;
            words = "bad_alloc";
          }
        }
        failures += raised != 0;
        if (raised == 0) {
          EXPECT_EQ(answer, expected);
        } else if (raised != error_number::kOutOfMemory && !also_fails_with.contains(raised)) {
          ADD_FAILURE() << "raised " << raised << ": " << words;
        }
        EXPECT_EQ(integrity(), "ok");
        if (raised != 0 && wrote != Wrote::whatever) {
          const auto rows = all_rows();
          EXPECT_TRUE(rows == rows_before || (wrote == Wrote::nothing_or_all && rows == rows_after));
        }
        forget_thread_state();
        // The engine does without some allocations. What was done all the same, as a deletion, cannot be done twice.
        if (raised == 0) begin_again();
        EXPECT_NO_THROW(work());
      }
    }
    EXPECT_GT(failures, 0u);
  }
};

// Values

// A copy of a text that found no memory destroyed a value that was never made: the heap was corrupt.
TEST(ValueWithoutMemory, CopyThatFindsNoMemoryLeavesNothingBehind) {
  const Variant text(std::string(100, 'x'));
  for (const std::int64_t nth : {1, 2, 3}) {
    std::vector<Variant> copies(2);
    try {
      const FailingAllocations failing(nth, Failing::once);
      copies[0] = text;
      copies.emplace_back(text);
    } catch (const std::bad_alloc&) {
    }
    EXPECT_TRUE(allocation_failed());
    EXPECT_TRUE(copies[0].is_empty() || copies[0] == text);
    EXPECT_EQ(copies.size(), 2u);
  }
}

TEST(ValueWithoutMemory, AssignmentThatFindsNoMemoryKeepsTheValue) {
  const Variant text(std::string(100, 'x'));
  Variant value(std::string(50, 'y'));
  const FailingAllocations failing(1, Failing::from_then_on);
  EXPECT_THROW(value = text, std::bad_alloc);
  EXPECT_EQ(value.text_value().size(), 50u);
}

// The index of the keys kept the places of entries that had been cleared away.
TEST(ValueWithoutMemory, DictionaryWhoseIndexFindsNoMemoryIsUnchanged) {
  for (std::int64_t nth = 1;; ++nth) {
    Dictionary dictionary;
    for (std::int32_t key = 0; key < 16; ++key) dictionary.Add(key, key);
    for (std::int32_t key = 0; key < 8; ++key) dictionary.Remove(key);
    std::int32_t added = 16;
    try {
      const FailingAllocations failing(nth, Failing::once);
      for (; added < 64; ++added) dictionary.Add(added, added);
    } catch (const std::bad_alloc&) {
    }
    EXPECT_EQ(dictionary.Count(), added - 8);
    for (std::int32_t key = 0; key < 64; ++key)
      EXPECT_EQ(dictionary.Exists(Variant(key)), key >= 8 && key < added) << key << " after allocation " << nth;
    dictionary.Add("one more", 1);
    EXPECT_EQ(dictionary.Item("one more"), Variant(1));
    if (!allocation_failed()) break;
  }
}

// The key was known before its entry was there, and led behind the last one.
TEST(ValueWithoutMemory, CollectionWhoseEntryFindsNoMemoryDoesNotKnowItsKey) {
  for (std::int64_t nth = 1;; ++nth) {
    Collection collection;
    const std::string key(40, 'k');
    bool added = false;
    try {
      const FailingAllocations failing(nth, Failing::once);
      collection.Add(1, key);
      added = true;
    } catch (const std::bad_alloc&) {
    }
    EXPECT_EQ(collection.Count(), added ? 1 : 0);
    if (!added) collection.Add(2, key);
    EXPECT_EQ(collection.Item(std::string_view(key)), Variant(added ? 1 : 2));
    if (!allocation_failed()) break;
  }
}

// The tail of a method

// A failure that found no memory for its message left as another exception, past the host that catches Raised; and
// without the vote of its steps.
TEST_F(AllocationFailure, TailRaisesAndTheTransactionIsRolledBackWhateverItFindsNoMemoryFor) {
  bool failed = true;
  for (std::int64_t nth = 1; failed; ++nth) {
    for (const Failing how : {Failing::once, Failing::from_then_on}) {
      const ComponentPtr object = create_root("Mercato.Product");
      ContextCall under_way(object->context());
      std::int32_t number = 0;
      try {
        const FailingAllocations failing(nth, how);
        method([] { raise(5, "A source of its own", "A description that is longer than a few letters"); },
               Tail{"Mercato.Product.A label of some length", [] {
                      std::string info(100, 'i');
                      Mts_SetAbort();
                      return Variant(std::move(info));
                    }});
      } catch (const Raised& failure) {
        number = failure.error().Number;
      }
      failed = allocation_failed();
      EXPECT_TRUE(number == 5 || (failed && number == error_number::kOutOfMemory)) << number << ", allocation " << nth;
      under_way.finish();
      EXPECT_EQ(object->context()->vote_of_last_call(), Vote::abort) << nth;
      EXPECT_EQ(object->context()->outcome_of_last_call(), Outcome::rolledback) << nth;
    }
  }
}

// Calls

TEST_F(AllocationFailure, ObjectIsCreatedCalledAndReleased) {
  check(call_of("Mercato.Unit", "GetAllUnits", {}), Wrote::nothing);
}

TEST_F(AllocationFailure, ProductIsRead) { check(call_of("Mercato.Product", "GetProductEx", {1}), Wrote::nothing); }

TEST_F(AllocationFailure, ProductIsReadByAHostInItsOwnLanguage) {
  check(
      [] {
        Root<Product> product;
        const CollectionPtr fields = product->GetProduct(1);
        stop_failing();
        return shown(fields->Item(std::string_view("PARTNUMBER")));
      },
      Wrote::nothing);
}

TEST_F(AllocationFailure, ProductsAreFoundByAPartOfTheirNumber) {
  check(call_of("Mercato.Product", "GetCatalogProductsByPartNumber", {"M-%", 10, false}), Wrote::nothing);
}

// These two cast no vote when they fail: what was written before that goes into the transaction.
TEST_F(AllocationFailure, ProductIsInserted) {
  check(call_of("Mercato.Product", "Insert20",
                {Array{"PARTNUMBER", "PRODUCTDESCRIPTION", "UNITCODE", "PRODUCTREMARK"},
                 Array{"M-3", "A pencil with a long description", "EA", std::string(200, 'r')}}),
        Wrote::nothing_or_all);
}

TEST_F(AllocationFailure, ProductIsUpdated) {
  check(call_of("Mercato.Product", "Update20",
                {1, Array{"PRODUCTDESCRIPTION", "PRODUCTREMARK"}, Array{"Better paper", std::string(200, 'r')}}),
        Wrote::nothing_or_all);
}

TEST_F(AllocationFailure, ProductIsDeleted) { check(call_of("Mercato.Product", "Delete", {2}), Wrote::nothing); }

TEST_F(AllocationFailure, PriceLineIsWritten) {
  check(call_of("Mercato.Product", "InsertUpdatePriceEx",
                {1, Date::from_civil({2026, 7, 1}), 10.0, "A", Array{"CURRENCYCODE", "PRICE", "GROUPBY"},
                 Array{"EUR", 12.5, "A"}, "insertupdate"}),
        Wrote::nothing);
}

TEST_F(AllocationFailure, CatalogIsCopied) {
  check(call_of("Mercato.TCatalog", "CopyCatalog", {1, 1, "The copy of the catalogue"}), Wrote::nothing);
}

TEST_F(AllocationFailure, RightsOfAUserAreExpanded) {
  check(call_of("Mercato.TCatalog", "PopulateUserNodes", {"MARTA.NOWAK"}), Wrote::nothing);
}

// Uploads. Each statement of theirs stands when it has run, so what a failed one wrote stays.

TEST_F(AllocationFailure, ProductsAreUploaded) {
  const std::string document =
      "<Products><Product buyfrompartnumber=\"QM-1\"><URL>https://quillmarch.example/p/QM-1</URL><COLOUR>white"
      "</COLOUR></Product><Product buyfrompartnumber=\"QM-2\"><PRODUCTDESCRIPTION>A pen that writes for longer than "
      "others</PRODUCTDESCRIPTION><UNIT>EA</UNIT></Product></Products>";
  check(call_of("Mercato.ProductXML", "updateProductsFromXML", {document, false, Array{"QM-1", "QM-2"}, false}),
        Wrote::whatever);
}

TEST_F(AllocationFailure, PricesAreUploaded) {
  const std::string document =
      "<ProductPrices><ProductPrice buyfrompartnumber=\"QM-1\"><CurrencyCode>EUR</CurrencyCode><Price>4.35</Price>"
      "<QuantityTo>49</QuantityTo><PriceEffectiveDate>1/1/2026</PriceEffectiveDate><PriceExpiryDate>12/31/2035"
      "</PriceExpiryDate><GROUPBY/></ProductPrice></ProductPrices>";
  const std::string with_key = "k/\\" + document;
  check(
      [&] {
        const ComponentPtr upload = create_root("Mercato.PriceXML");
        // What every upload needs first: the currencies.
        std::vector<Variant> arguments = raising_out_of_memory([] {
          return std::vector<Variant>{"<ProductPrices><ProductPrice/></ProductPrices>", false};
        });
        invoke(upload, "GetCheckedPriceList", arguments);
        arguments = raising_out_of_memory([&] { return std::vector<Variant>{with_key, false, Array{"QM-1"}}; });
        invoke(upload, "UpdateInsertPricesFromXML", arguments);
        stop_failing();
        return shown(arguments[2]);
      },
      Wrote::whatever);
}

TEST_F(AllocationFailure, CodesAreLoadedFromAWorkbook) {
  const std::string path = (folder() / "codes.xlsx").string();
  write_workbook(path, codes_content({{"91000000", "Toys"}, {"91100000", "Toys of wood, for the smallest"}}));
  check(call_of("Mercato.TUNSPSC", "UploadFromXLS", {path, false, true}), Wrote::nothing, {eUnableToLoadXML});
}

TEST_F(AllocationFailure, CodesAreLoadedFromADocument) {
  const std::string path = (folder() / "codes.xml").string();
  std::ofstream(path)
      << "<UNSPSC_ITEMS><UNSPSC_ITEM><CODE>91000000</CODE><DESCRIPTION>Toys</DESCRIPTION></UNSPSC_ITEM></UNSPSC_ITEMS>";
  spare_libxml2(true);
  check(call_of("Mercato.TUNSPSC", "UploadFromXML", {path, false, true}), Wrote::nothing, {eUnableToLoadXML});
}

// A statement that found no memory was passed over like any other that fails: its code was said to exist already.
TEST_F(AllocationFailure, StatementOfACodeThatFindsNoMemoryEndsTheUpload) {
  class NoMemory : public store::StatementObserver {
   public:
    explicit NoMemory(const char* statement) : statement_(statement), before_(store::set_statement_observer(this)) {}
    ~NoMemory() override { store::set_statement_observer(before_); }
    void on_statement(std::string_view text, bool) override {
      if (text.find(statement_) != std::string_view::npos) throw std::bad_alloc();
    }

   private:
    const char* statement_;
    store::StatementObserver* before_;
  };
  const std::string path = (folder() / "codes.xlsx").string();
  write_workbook(path, codes_content({{"91000000", "Toys"}, {"91100000", "Toys of wood"}}));
  const auto rows_before = all_rows();
  for (const char* statement : {"Select * from UNSPSCCODES", "INSERT INTO UNSPSCCODES", "INSERT INTO COMMODITY"}) {
    std::int32_t number = 0;
    {
      const NoMemory failing(statement);
      try {
        call_of("Mercato.TUNSPSC", "UploadFromXLS", {path, false, true})();
      } catch (const Raised& failure) {
        number = failure.error().Number;
      }
    }
    EXPECT_EQ(number, error_number::kOutOfMemory) << statement;
    forget_thread_state();
    EXPECT_EQ(all_rows(), rows_before) << statement;
  }
}

// The ground

TEST_F(AllocationFailure, StoreIsOpenedAndAsked) {
  check(
      [this] {
        return raising_out_of_memory([&] {
          const auto connection = open_connection(connection_string());
          return shown(connection
                           ->Execute(Sql::verbatim("SELECT PARTNUMBER FROM PRODUCT WHERE PRODUCTDESCRIPTION LIKE "
                                                   "'%p_p%' ORDER BY PARTNUMBER"))
                           ->Value(std::size_t{0}));
        });
      },
      Wrote::nothing);
}

// A session that found no memory while it was closed ended the process: its destructor made the name of the log.
TEST_F(AllocationFailure, SessionIsClosedWhateverItFindsNoMemoryFor) {
  bool failed = true;
  for (std::int64_t nth = 1; failed; ++nth) {
    SCOPED_TRACE("allocation " + std::to_string(nth));
    begin_again();
    execute({"INSERT HAZARDOUSCLASS (CLASSCODE) VALUES ('X')"});
    {
      const FailingAllocations failing(nth, Failing::once);
      EXPECT_NO_THROW(store::close_idle_sessions());
      failed = allocation_failed();
    }
    EXPECT_EQ(integrity(), "ok");
  }
}

// The note of a new log found no memory, and the statement that stood was told as failed.
TEST_F(AllocationFailure, StatementThatIsToldAsFailedIsNotThere) {
  begin_again();
  const auto rows_before = all_rows();
  bool failed = true;
  for (std::int64_t nth = 1; failed; ++nth) {
    SCOPED_TRACE("allocation " + std::to_string(nth));
    begin_again();
    const auto session = store::acquire_session(connection_string());
    session->execute(Sql::verbatim("SELECT CLASSCODE FROM HAZARDOUSCLASS"), {});
    bool raised = false;
    {
      const FailingAllocations failing(nth, Failing::once);
      try {
        raising_out_of_memory(
            [&] { session->execute(Sql::verbatim("INSERT HAZARDOUSCLASS (CLASSCODE) VALUES ('X')"), {}); });
      } catch (const Raised&) {
        raised = true;
      }
      failed = allocation_failed();
    }
    EXPECT_EQ(all_rows() == rows_before, raised);
  }
}

TEST_F(AllocationFailure, DocumentIsLoadedSearchedChangedAndWritten) {
  const std::string text = read_whole(sample("prices.xml"));
  const std::string path = (folder() / "out.xml").string();
  check(
      [&] {
        return raising_out_of_memory([&] {
          xml::Document document;
          if (!document.load_text(text)) return "not loaded: " + document.error();
          const auto lines = document.select("//ProductPrice[@buyfrompartnumber = 'QM-PAP-001']");
          const std::size_t count = lines.size();
          lines.item(0).remove();
          const std::size_t left = document.select("//ProductPrice[@buyfrompartnumber='QM-PAP-001']").size();
          document.save(path);
          return std::to_string(count) + " " + std::to_string(left) + " " + std::to_string(document.save_text().size());
        });
      },
      Wrote::nothing);
}

// The file beside the path stayed there, open, when its writer found no memory just after making it.
TEST_F(AllocationFailure, FileThatIsNotWrittenLeavesNothingBesideItsPath) {
  namespace fs = std::filesystem;
  const fs::path path = folder() / "written" / "a-name-that-takes-memory-of-its-own.xml";
  fs::create_directory(path.parent_path());
  const auto write = [&](const char* bytes) {
    return raising_out_of_memory([&] { files::write_file_atomically(path.string(), bytes); });
  };
  const auto entries = [](const fs::path& of) { return std::distance(fs::directory_iterator(of), {}); };
  write("old");
  std::int64_t allocations = 0;
  {
    const FailingAllocations counting(0, Failing::once);
    write("old");
    allocations = allocations_asked_for();
  }
  ASSERT_GT(allocations, 3);
  for (std::int64_t nth = 1; nth <= allocations; ++nth) {
    SCOPED_TRACE("allocation " + std::to_string(nth) + " of " + std::to_string(allocations));
    write("old");
    const auto open_before = entries("/proc/self/fd");
    std::int32_t raised = 0;
    {
      const FailingAllocations failing(nth, Failing::once);
      try {
        write("new");
      } catch (const Raised& failure) {
        raised = failure.error().Number;
      }
    }
    EXPECT_EQ(raised, error_number::kOutOfMemory);
    EXPECT_EQ(read_whole(path), "old");
    EXPECT_EQ(entries(path.parent_path()), 1);
    EXPECT_EQ(entries("/proc/self/fd"), open_before);
  }
}

TEST_F(AllocationFailure, DocumentIsJudgedByASchema) {
  spare_libxml2(true);
  const std::string schema = std::string(MERCATO_SOURCE_DIR) + "/xmlschemas/UNSPSC_Schema.xml";
  check(
      [&] {
        return raising_out_of_memory([&] {
          xml::Schema judge;
          if (!judge.load(schema)) return "not loaded: " + judge.error();
          xml::Document document;
          if (!document.load_text("<a><b>A text that is longer than a few letters</b></a>")) return document.error();
          return judge.fault_of(document);
        });
      },
      Wrote::nothing);
}

TEST_F(AllocationFailure, WorkbookIsRead) {
  const std::string path = (folder() / "codes.xlsx").string();
  write_workbook(path, codes_content({{"91000000", "Toys"}, {"91100000", "Toys of wood, for the smallest"}}));
  check(
      [&] {
        return raising_out_of_memory([&] {
          spreadsheet::Workbook workbook;
          if (!workbook.open(path)) raise(error_number::kPathFileAccess, {}, workbook.error());
          std::string all;
          for (std::vector<std::string> texts; workbook.next_row(2, texts);) all += texts[0] + texts[1] + "\n";
          return all;
        });
      },
      Wrote::nothing, {error_number::kPathFileAccess});
}

}  // namespace
}  // namespace mercato::test
