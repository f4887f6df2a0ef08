// SPDX-License-Identifier: Apache-2.0
#include "collaborators/bauteil/page.h"

#include "mercato/raised_error.h"
#include "mercato/settings.h"

namespace mercato::collaborators {
namespace {

std::string_view application_of(std::string_view connection_name) {
  constexpr std::string_view kSuffix = "Connection";
  if (!connection_name.ends_with(kSuffix))
    raise(error_number::kInvalidArgument, "Bauteil.Page",
          "'" + std::string(connection_name) + "' is no name of a connection: one ends in '" + std::string(kSuffix) +
              "'");
  return connection_name.substr(0, connection_name.size() - kSuffix.size());
}

}  // namespace

const ClassTable& Page::table() {
  static const ClassTable table =
      ClassTable::of<Page>("Bauteil.Page", "{58D16F9A-C047-4E2B-B6A3-91F8E5307CD4}", TransactionAttribute::undeclared)
          .collaborator()
          .method("RegisterConnection", &Page::RegisterConnection, {"name"})
          .method("GetDRecordset", &Page::GetDRecordset)
          .method("GetSavedPosition", &Page::GetSavedPosition, {"position", "flag"})
          .method("SetSavedPosition", &Page::SetSavedPosition, {"text"});
  return table;
}

void Page::RegisterConnection(const std::string& name) {
  auto rows = std::make_shared<DRecordset>();
  rows->SetConnectionString(connection_string_of(application_of(name)));
  rows_ = std::move(rows);
}

std::shared_ptr<DRecordset> Page::GetDRecordset() {
  if (!rows_) raise(error_number::kObjectNotSet, "Bauteil.Page", "No connection is registered with the page");
  return rows_;
}

Variant Page::GetSavedPosition(std::string& position, bool& flag) {
  position = saved_position_;
  flag = !saved_position_.empty();
  return flag;
}

void Page::SetSavedPosition(const std::string& text) { saved_position_ = text; }

}  // namespace mercato::collaborators
