// SPDX-License-Identifier: Apache-2.0
#include "keeping/product_keeping.h"

#include <filesystem>
#include <set>

#include "frame/contracts.h"
#include "frame/file_access.h"
#include "frame/lib_general.h"
#include "frame/lib_sql.h"
#include "keeping/store_calls.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::keeping {
namespace {

Sql of_pair(std::int32_t product, std::int32_t alternative) {
  return Sql(" FROM ALTERNATIVEPRODUCTS WHERE ORIGINALPRODUCT = ")
         << product << " AND ALTERNATIVEPRODUCT = " << alternative;
}

Sql of_file(std::int32_t product, const std::string& quoted_name) {
  return Sql(" FROM ATTACHEDFILE WHERE PRODUCTID = ") << product << " AND FILENAME = N'" << value(quoted_name) << "'";
}

// Where the library looks for the files of a product when it deletes it.
std::filesystem::path folder_of_files(std::int32_t product) {
  const std::string root = grundwerk::Configuration().GetWebRootFolder();
  if (root.empty())
    raise(error_number::kInvalidArgument, {},
          "Files of products lie below the web root, and the settings name none: set web_root");
  return std::filesystem::path(files::host_path(root)) / "mercato" / "ProductAttachments" / std::to_string(product);
}

}  // namespace

void set_disabled(std::span<const std::int32_t> products, bool disabled, const std::function<void()>& done) {
  const ComponentPtr object = create_plain("Mercato.Product");
  for (const std::int32_t id : products) {
    std::vector<Variant> arguments = {id};
    invoke(object, disabled ? "Disable" : "Enable", arguments);
    done();
  }
}

std::vector<NamedProduct> alternatives_of(std::int32_t product) {
  std::set<std::int32_t> ids;
  const auto rows = call_library("Mercato.Product", "GetAlternativeProducts", {product}).to<Recordset>();
  for (; !rows->Eof(); rows->MoveNext()) ids.insert(rows->Value("ALTERNATIVEPRODUCT").to_long());
  const std::vector<std::int32_t> list(ids.begin(), ids.end());
  return products_with(shared_connection_string(), list);
}

bool add_alternative(std::int32_t product, std::int32_t alternative) {
  if (count_by(Sql("SELECT COUNT(*) AS N") << of_pair(product, alternative)) > 0) return false;
  run_statement(Sql("INSERT INTO ALTERNATIVEPRODUCTS (ORIGINALPRODUCT, ALTERNATIVEPRODUCT) VALUES (")
                << product << ", " << alternative << ")");
  return true;
}

std::size_t remove_alternative(std::int32_t product, std::int32_t alternative) {
  return static_cast<std::size_t>(run_statement(Sql("DELETE") << of_pair(product, alternative)));
}

std::vector<AttachedFile> attached_files(std::int32_t product) {
  std::vector<AttachedFile> attached;
  const std::vector<DictionaryPtr> rows =
      rows_of(Sql("SELECT DISTINCT FILENAME FROM ATTACHEDFILE WHERE PRODUCTID = ") << product << " ORDER BY FILENAME");
  if (rows.empty()) return attached;
  const std::filesystem::path folder = folder_of_files(product);
  for (const DictionaryPtr& row : rows) {
    AttachedFile& file = attached.emplace_back();
    file.name = row->Item("FILENAME").text_or_empty();
    std::error_code missing;
    if (const auto bytes = std::filesystem::file_size(folder / file.name, missing); !missing) file.bytes = bytes;
  }
  return attached;
}

std::string attach_file(std::int32_t product, const std::string& path) {
  constexpr std::size_t kLongestName = 255;
  std::string name = std::filesystem::path(path).filename().string();
  if (name.empty() || text::length(name) > kLongestName)
    raise(error_number::kInvalidArgument, {},
          "The name of a file has 1 to 255 characters, which '" + path + "' has not");
  const std::string bytes = files::read_file(path);
  const std::filesystem::path folder = folder_of_files(product);
  std::error_code refused;
  std::filesystem::create_directories(folder, refused);
  if (refused)
    raise(error_number::kInvalidArgument, {},
          "The folder '" + folder.string() + "' cannot be made: " + refused.message());
  files::write_file_atomically((folder / name).string(), bytes);
  const std::string quoted = Gen_QuoteSql(name);
  if (count_by(Sql("SELECT COUNT(*) AS N") << of_file(product, quoted)) == 0)
    run_statement(Sql("INSERT INTO ATTACHEDFILE (PRODUCTID, FILENAME) VALUES (")
                  << product << ", N'" << value(quoted) << "')");
  return name;
}

bool detach_file(std::int32_t product, const std::string& name) {
  return run_statement(Sql("DELETE") << of_file(product, Gen_QuoteSql(name))) > 0;
}

void drop_attached_file(std::int32_t product, const std::string& name) {
  // A name that leads elsewhere was never made here.
  if (std::filesystem::path(name).filename() != name) return;
  std::error_code not_there;
  std::filesystem::remove(folder_of_files(product) / name, not_there);
}

}  // namespace mercato::keeping
