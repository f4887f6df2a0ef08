// SPDX-License-Identifier: Apache-2.0
#include "upload/product_repair.h"

#include "frame/lib_general.h"
#include "frame/method.h"
#include "values/text.h"

namespace mercato::upload {
namespace {

constexpr std::size_t kBuyerWidth = 30;

// Why a value that is not good is dropped.
const char* reason_against(FieldKind kind) {
  switch (kind) {
    case FieldKind::commodity:
      return "no such commodity";
    case FieldKind::contract:
    case FieldKind::contract_number:
      return "no such contract line";
    case FieldKind::date:
      return "not a date";
    case FieldKind::number:
      return "not a number";
    case FieldKind::flag:
      return "neither 0 nor 1";
    case FieldKind::unspsc_code:
      return "no such UNSPSC code";
    default:
      return "";
  }
}

// The answer is not looked at: that the statement could be run is enough, so a class that does not exist is not caught.
void ask_for_hazardous_class(ConnectionPtr connection, const std::string& class_code) {
  connection->Execute(Sql("SELECT * FROM HAZARDOUSCLASS WHERE CLASSCODE = '")
                      << value(Gen_QuoteSql(class_code)) << "'");
  Sql_CloseConnection(connection);
}

}  // namespace

// One field of a record, as it was when the repair began, and what may become of it. A field that gets another value
// goes to the end of the record.
class ProductRepairer::Field {
 public:
  Field(Dictionary& values, const Variant& its_key, const Variant& its_item, UploadRecord* told)
      : key(its_key), item(its_item), name(key.to_text()), text(item.to_text()), values_(values), told_(told) {}

  const Variant& key;
  const Variant& item;
  const std::string name;
  const std::string text;

  // The item of another field, which this creates when the record lacks it.
  const Variant& other(std::string_view other_name) const { return values_.Item(other_name); }

  void take_out() const { values_.Remove(key); }
  void put(Variant new_name, std::string new_text) const { values_.Add(std::move(new_name), std::move(new_text)); }
  void replace(std::string new_text) const {
    take_out();
    put(key, std::move(new_text));
  }
  void drop(const char* reason) const {
    take_out();
    if (told_) told_->dropped.push_back({name, text, reason});
  }
  void truncateValue(std::size_t width) const {
    if (text::length(text) <= width) return;
    replace(std::string(text::left(text, width)));
    note_cut(width);
  }
  void truncate_name_and_value(std::size_t width) const {
    if (text::length(text) <= width && text::length(name) <= width) return;
    take_out();
    put(text::left(name, width), std::string(text::left(text, width)));
    note_cut(width);
  }

 private:
  void note_cut(std::size_t width) const {
    if (told_) told_->cut.push_back({name, text, "cut to " + std::to_string(width) + " characters"});
  }

  Dictionary& values_;
  UploadRecord* const told_;
};

void ProductRepairer::getValidatedProductValues(Dictionary& values, UploadRecord* told) {
  method(
      [&] {
        if (values.Count() == 0) return;
        const Array keys = values.Keys();
        const Array items = values.Items();
        known_.read_unspsc_setting();
        for (std::int32_t index = 0; index <= keys.upper(); ++index)
          repair_field(Field(values, keys.at(index), items.at(index), told));
      },
      Tail{"Mercato.ProductXML.getValidatedProductValues", no_steps});
}

void ProductRepairer::repair_field(const Field& field) {
  const FieldRule rule = rule_of(text::to_upper(field.name));
  switch (rule.kind) {
    case FieldKind::buyers:
      field.take_out();
      return field.put("USERID", joined_buyers(field.text));
    case FieldKind::partner:  // an unknown one is handed on as "-1"
      field.take_out();
      return field.put("BUSINESSPARTNERID", known_.partner_id(field.text).to_text());
    case FieldKind::unit:
      return replace_by_unit_code(field);
    case FieldKind::hazardous_class:
      ask_for_hazardous_class(GetConnection(), field.text);
      return field.replace(field.text);
    case FieldKind::separator:  // stays as an entry, and is never stored
      separator_.set(field.text);
      separator_.or_default();
      return;
    case FieldKind::commodity:
    case FieldKind::contract:
    case FieldKind::contract_number:
    case FieldKind::date:
    case FieldKind::number:
    case FieldKind::flag:
    case FieldKind::unspsc_code:
      return drop_unless_good(rule.kind, field);
    case FieldKind::text:
      return field.truncateValue(rule.width);
    case FieldKind::flag_only_judged:
    case FieldKind::other:
      return field.truncate_name_and_value(rule.width);
  }
}

// Reading the other half of a contract line creates it, so that the number of fields may come out even.
void ProductRepairer::drop_unless_good(FieldKind kind, const Field& field) {
  const std::string_view partner = partner_of(kind);
  if (!known_.is_good(kind, field.name, field.item, partner.empty() ? Variant() : field.other(partner)))
    field.drop(reason_against(kind));
}

void ProductRepairer::replace_by_unit_code(const Field& field) {
  if (!mUnit) mUnit = Gen_GetComponent("Mercato.Unit");
  std::string code = invoke(mUnit, "getUnitCodeFromDescription", {field.text}).to_text();
  if (code.empty()) return field.drop("no such unit");
  field.replace(std::move(code));
}

// Each buyer with the separator before it. While no separator is set the list is one part, cut as a whole, and goes on
// without a separator: it is taken apart only when it is written.
std::string ProductRepairer::joined_buyers(const std::string& list) const {
  std::string joined;
  for (const std::string& part : text::split(list, separator_.text()))
    if (!part.empty()) joined.append(separator_.text()).append(text::left(part, kBuyerWidth));
  return joined;
}

}  // namespace mercato::upload
