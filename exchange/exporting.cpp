// SPDX-License-Identifier: Apache-2.0
#include "exchange/exporting.h"

#include <algorithm>
#include <array>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>

#include "exchange/stored/stored_products.h"
#include "exchange/writers/product_writers.h"
#include "exchange/writers/table_writers.h"
#include "frame/lib_general.h"
#include "frame/lib_sql.h"
#include "mercato/recordset.h"

namespace mercato::exchange {
namespace {

using enum ExportForm;

// * and ? as LIKE has them; all else stands for itself.
std::string like_pattern(std::string_view pattern) {
  std::string like;
  for (const char byte : pattern) switch (byte) {
      case '*':
        like += '%';
        break;
      case '?':
        like += '_';
        break;
      case '%':
      case '_':
      case '[':
        like.append("[").append(1, byte).append("]");
        break;
      default:
        like += byte;
    }
  return Gen_QuoteSql(like);
}

// Of PRODUCT P.
Sql condition_of(const ExportFilter& filter, std::int32_t after) {
  Sql sql = Sql("P.PRODUCTID > ") << after;
  if (filter.supplier) sql << " AND P.BUSINESSPARTNERID = " << *filter.supplier;
  if (filter.category)
    sql << " AND EXISTS (SELECT 1 FROM PRODUCTSBYCATEGORY L WHERE L.PRODUCTID = P.PRODUCTID AND L.CATEGORYID = "
        << *filter.category << ")";
  if (filter.catalog)
    sql << " AND EXISTS (SELECT 1 FROM PRODUCTSBYCATEGORY M INNER JOIN CATALOGNODE N ON M.CATEGORYID = N.CATEGORYID "
           "WHERE M.PRODUCTID = P.PRODUCTID AND N.CATALOGID = "
        << *filter.catalog << ")";
  if (!filter.part_number.empty()) {
    const std::string pattern = like_pattern(filter.part_number);
    sql << " AND (P.PARTNUMBER LIKE N'" << value(pattern) << "' OR P.BUYFROMPARTNUMBER LIKE N'" << value(pattern)
        << "')";
  }
  return sql;
}

// The names of the properties that these products have, each once.
std::vector<std::string> property_names(const ConnectionPtr& connection, const ExportFilter& filter) {
  const Sql statement = Sql("SELECT D.PROPERTYNAME FROM PROPERTY D WHERE EXISTS (SELECT 1 FROM PRODUCTPROPVALUE V "
                            "INNER JOIN PRODUCT P ON "
                            "V.PRODUCTID = P.PRODUCTID WHERE V.PROPERTYID = D.PROPERTYID AND ")
                        << condition_of(filter, 0) << ") ORDER BY D.PROPERTYNAME, D.PROPERTYID";
  std::vector<std::string> names;
  const RecordsetPtr rows = open_read_only(statement, connection);
  for (; !rows->Eof(); rows->MoveNext()) names.push_back(rows->Value(0).text_or_empty());
  rows->Close();
  return names;
}

std::size_t count_products(const ConnectionPtr& connection, const ExportFilter& filter) {
  const RecordsetPtr rows =
      open_read_only(Sql("SELECT COUNT(*) AS N FROM PRODUCT P WHERE ") << condition_of(filter, 0), connection);
  const std::int32_t count = rows->Value(0).to_long();
  rows->Close();
  return static_cast<std::size_t>(count);
}

std::vector<StoredCategory> all_categories(const ConnectionPtr& connection) {
  std::vector<StoredCategory> categories;
  const RecordsetPtr rows = open_read_only(
      LiteralPiece("SELECT CATEGORYID, CATEGORYNAME FROM PRODUCTCATEGORY ORDER BY CATEGORYID"), connection);
  for (; !rows->Eof(); rows->MoveNext())
    categories.push_back({rows->Value(0).to_long(), rows->Value(1).text_or_empty()});
  rows->Close();
  return categories;
}

std::unique_ptr<TableWriter> table_writer(ExportForm form, Output& output, const char* sheet) {
  return form == xlsx ? xlsx_writer(output, sheet) : csv_writer(output);
}

std::unique_ptr<ProductWriter> writer_of(const ExportOptions& options, const ConnectionPtr& connection,
                                         Output& output) {
  const bool of_prices = options.subject == ExportSubject::prices;
  switch (options.form) {
    case json:
      return of_prices ? price_lines(output) : product_lines(output);
    case documents:
      return of_prices ? price_document(output) : product_document(output);
    case bmecat:
      return bmecat_document(output, all_categories(connection));
    case csv:
    case xlsx:
      break;
  }
  if (of_prices) return price_table(table_writer(options.form, output, "prices"));
  return product_table(table_writer(options.form, output, "products"), property_names(connection, options.filter));
}

ExportReport export_products(const std::string& connection_string, const ExportOptions& options, Output& output) {
  StoredProducts stored(connection_string);
  const std::unique_ptr<ProductWriter> writer = writer_of(options, stored.connection(), output);
  const bool of_prices = options.subject == ExportSubject::prices;
  const bool has_all = options.form == json || options.form == bmecat;
  if (options.on_start) options.on_start(count_products(stored.connection(), options.filter));
  ExportReport report;
  for (std::int32_t after = 0;;) {
    std::vector<StoredProduct> page =
        stored.products(Sql("SELECT TOP 500 ") << StoredProducts::columns() << " FROM PRODUCT P WHERE "
                                               << condition_of(options.filter, after) << " ORDER BY P.PRODUCTID");
    if (page.empty()) break;
    after = page.back().id;
    if (of_prices || has_all) stored.add_prices(page);
    if (!of_prices) stored.add_properties(page);
    if (!of_prices && options.form != documents) stored.add_categories(page);
    for (const StoredProduct& product : page) {
      const std::size_t written = writer->product(product);
      report.written += written;
      if (product.number.empty()) report.without_number += written;
    }
    if (options.on_products) options.on_products(page.size());
  }
  writer->finish();
  report.left_out = writer->left_out();
  return report;
}

// The other tables are small: what is written of them is what one statement says of them.
struct Column {
  std::string_view header;
  bool is_number = false;
};

class TextLines final : public TableWriter {
 public:
  TextLines(Output& output, std::vector<Column> columns) : output_(output), columns_(std::move(columns)) {}
  void row(std::span<const TableCell> cells) override {
    if (std::exchange(is_header_, false)) return;
    nlohmann::ordered_json line;
    for (std::size_t place = 0; place < cells.size(); ++place) {
      const TableCell& cell = cells[place];
      nlohmann::ordered_json& entry = line[std::string(columns_[place].header)];
      if (cell.text.empty())
        entry = nullptr;
      else if (cell.is_number)
        entry = std::stoll(cell.text);
      else
        entry = cell.text;
    }
    output_.write(line.dump(-1, ' ', false, nlohmann::detail::error_handler_t::replace) + "\n");
  }
  void finish() override { output_.finish(); }

 private:
  Output& output_;
  const std::vector<Column> columns_;
  bool is_header_ = true;
};

// As `mercato unspsc load` reads codes.
class CodeDocument final : public TableWriter {
 public:
  explicit CodeDocument(Output& output) : output_(output) {
    output_.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<UNSPSC_ITEMS>\n");
  }
  void row(std::span<const TableCell> cells) override {
    if (std::exchange(is_header_, false)) return;
    std::string item = "  <UNSPSC_ITEM><CODE>";
    append_escaped(item, cells[0].text);
    item += "</CODE><DESCRIPTION>";
    append_escaped(item, cells[1].text);
    output_.write(item + "</DESCRIPTION></UNSPSC_ITEM>\n");
  }
  void finish() override {
    output_.write("</UNSPSC_ITEMS>\n");
    output_.finish();
  }

 private:
  Output& output_;
  bool is_header_ = true;
};

// With pairs of zeros up to the usual eight digits.
std::string whole_code(const std::string& parent, const std::string& code) {
  constexpr std::size_t kUsual = 8;
  std::string whole = parent + code;
  if (whole.size() < kUsual) whole.append(kUsual - whole.size(), '0');
  return whole;
}

ExportReport export_rows(const std::string& connection_string, const ExportOptions& options, Output& output) {
  const ConnectionPtr connection = open_connection(connection_string, Isolation::read_committed);
  std::vector<Column> columns;
  Sql statement;
  const char* sheet = "codes";
  switch (options.subject) {
    case ExportSubject::categories:
      sheet = "categories";
      columns = {{"CATEGORYID", true}, {"CATEGORYNAME"}, {"UNSPSCCODE"}};
      statement = Sql("SELECT CATEGORYID, CATEGORYNAME, UNSPSCCODE FROM PRODUCTCATEGORY ORDER BY CATEGORYID");
      break;
    case ExportSubject::catalog:  // as `mercato catalog load` reads it
      sheet = "catalogue";
      columns = {{"id", true}, {"parent", true}, {"name"}, {"category", true}};
      statement = Sql("SELECT NODEID, PARENTNODEID, NODENAME, CATEGORYID FROM CATALOGNODE WHERE CATALOGID = ")
                  << options.filter.catalog.value_or(0) << " ORDER BY NODEID";
      break;
    default:
      columns = {{"CODE"}, {"DESCRIPTION"}};
      statement =
          Sql("SELECT PARENTCODE, UNSPSCCODE, DESCRIPTION FROM UNSPSCCODES ORDER BY LEVELNUMBER, PARENTCODE, "
              "UNSPSCCODE");
  }
  std::unique_ptr<TableWriter> writer;
  if (options.form == json)
    writer = std::make_unique<TextLines>(output, columns);
  else if (options.form == documents)
    writer = std::make_unique<CodeDocument>(output);
  else
    writer = table_writer(options.form, output, sheet);

  std::vector<TableCell> cells;
  for (const Column& column : columns) cells.push_back({std::string(column.header)});
  writer->row(cells);
  ExportReport report;
  const RecordsetPtr rows = open_read_only(statement, connection);
  for (; !rows->Eof(); rows->MoveNext()) {
    if (options.subject == ExportSubject::unspsc) {
      cells[0].text = whole_code(rows->Value(0).text_or_empty(), rows->Value(1).text_or_empty());
      cells[1].text = rows->Value(2).text_or_empty();
    } else {
      for (std::size_t place = 0; place < columns.size(); ++place)
        cells[place] = {rows->Value(place).text_or_empty(), columns[place].is_number};
    }
    writer->row(cells);
    ++report.written;
  }
  rows->Close();
  writer->finish();
  return report;
}

}  // namespace

std::vector<ExportForm> forms_of(ExportSubject subject) {
  switch (subject) {
    case ExportSubject::products:
      return {csv, xlsx, json, bmecat, documents};
    case ExportSubject::prices:
    case ExportSubject::unspsc:
      return {csv, xlsx, json, documents};
    default:
      return {csv, xlsx, json};
  }
}

ExportReport export_records(const std::string& connection_string, const ExportOptions& options, Output& output) {
  const std::vector<ExportForm> forms = forms_of(options.subject);
  if (std::ranges::find(forms, options.form) == forms.end())
    raise(error_number::kInvalidArgument, {}, "There is no such form of what is to be exported.");
  const bool of_products = options.subject == ExportSubject::products || options.subject == ExportSubject::prices;
  return of_products ? export_products(connection_string, options, output)
                     : export_rows(connection_string, options, output);
}

}  // namespace mercato::exchange
