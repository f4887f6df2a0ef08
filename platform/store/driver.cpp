#include "platform/store/driver.h"

#include "platform/store/sqlite/driver.h"
#include "values/raised_error.h"
#include "values/text.h"

namespace mercato::store {
namespace {

struct KnownDriver {
  std::string_view provider;
  Driver& (*driver)();
};

// The first one also serves a connection string that names no provider.
constexpr KnownDriver kKnownDrivers[] = {
    {"SQLite", &sqlite_driver},
};

}  // namespace

std::optional<std::string> connection_property(std::string_view connection_string, std::string_view key) {
  for (std::size_t begin = 0; begin <= connection_string.size();) {
    const std::size_t end = std::min(connection_string.find(';', begin), connection_string.size());
    const std::string_view pair = connection_string.substr(begin, end - begin);
    if (const std::size_t equals = pair.find('=');
        equals != std::string_view::npos && text::equal_names(text::trim(pair.substr(0, equals)), key))
      return std::string(text::trim(pair.substr(equals + 1)));
    begin = end + 1;
  }
  return std::nullopt;
}

Driver& driver_for(const std::string& connection_string) {
  if (text::trim(connection_string).empty())
    raise(error_number::kStoreFailure, {}, "The connection string is blank. It has to name a store");
  const auto provider = connection_property(connection_string, "Provider");
  if (!provider) return kKnownDrivers[0].driver();
  std::string known;
  for (const KnownDriver& candidate : kKnownDrivers) {
    if (text::equal_names(candidate.provider, *provider)) return candidate.driver();
    if (!known.empty()) known += ", ";
    known += candidate.provider;
  }
  raise(error_number::kStoreFailure, {}, "There is no store provider '" + *provider + "'. Known providers: " + known);
}

Variant to_column_type(const Variant& value, ColumnType type) {
  if (value.is_null() || value.is_empty()) return kNull;
  // What reads as a number elsewhere but is none: an empty text, which automation clients refuse too.
  switch (type) {
    case ColumnType::unknown:
      return value;
    case ColumnType::short_integer:
      // The flags are such columns, and statements compare them with 1.
      if (value.type() == Variant::Type::boolean) return static_cast<std::int16_t>(value.boolean_value());
      return value.to_short();
    case ColumnType::long_integer:
      return value.to_long();
    case ColumnType::boolean:
      return value.to_boolean();
    case ColumnType::real:
      return value.to_double();
    case ColumnType::money:
      return value.to_currency();
    case ColumnType::date:
      return value.to_date();
    case ColumnType::text:
      return value.is_text() ? value : Variant(value.to_text());
  }
  raise(error_number::kInvalidArgument);
}

}  // namespace mercato::store
