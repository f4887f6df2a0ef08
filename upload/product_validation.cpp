// Judging a record (getErrorFields: reports, changes nothing that counts) and repairing it (getValidatedProductValues:
// drops, cuts and translates). The two apply different rules to several fields on purpose; kFieldRules says which field
// is what.
#include <algorithm>
#include <unordered_map>

#include "frame/util.h"
#include "upload/product_xml_internal.h"
#include "values/text.h"

namespace mercato {
namespace {

enum class FieldKind {
  buyers,
  commodity,
  unit,
  contract,
  contract_number,
  partner,
  date,
  number,
  flag,
  flag_only_judged,  // the repair takes it for any other field
  separator,
  unspsc_code,
  hazardous_class,
  text,   // only repaired: cut to its width
  other,  // only repaired: name and value cut to 30
};

struct FieldRule {
  FieldKind kind;
  std::size_t width = 0;
};

constexpr std::size_t kOtherWidth = 30;
constexpr std::size_t kBuyerWidth = 30;
constexpr std::string_view kSeparators[] = {"\\", "/", "\"", ";", ","};
constexpr const char* kRequiredFields[] = {"PRODUCTDESCRIPTION", "PARTNUMBER", "UNITCODE"};
// UNSPSCIMPLEMENTED as it is kept: upper-cased.
constexpr std::string_view kUnspscInUse = "YES";

FieldRule rule_of(std::string_view upper_key) {
  static const std::unordered_map<std::string_view, FieldRule> kFieldRules = {
      {"BUYERID", {FieldKind::buyers}},
      {"COMMODITYCODE", {FieldKind::commodity}},
      {"UNITCODE", {FieldKind::unit}},
      {"CONTRACTCODE", {FieldKind::contract}},
      {"NUMBER", {FieldKind::contract_number}},
      {"BUSINESSID", {FieldKind::partner}},
      {"PRODUCTEFFECTIVITYDATE", {FieldKind::date}},
      {"PRODUCTEXPIRYDATE", {FieldKind::date}},
      {"MINORDERQTY", {FieldKind::number}},
      {"MULTIPLEOF", {FieldKind::number}},
      {"GTIN", {FieldKind::number}},
      {"LOTSIZE", {FieldKind::number}},
      {"DELIVERYLEADTIME", {FieldKind::number}},
      {"MULTIPLEBUYER", {FieldKind::flag}},
      {"SERVICEITEM", {FieldKind::flag_only_judged, kOtherWidth}},
      {upload::kSeparatorKey, {FieldKind::separator}},
      {"UNSPSCCODE", {FieldKind::unspsc_code}},
      {"CLASSCODE", {FieldKind::hazardous_class}},
      {"PARTNUMBER", {FieldKind::text, 50}},
      {"MFRPARTNUMBER", {FieldKind::text, 50}},
      {"PRODUCTDESCRIPTION", {FieldKind::text, 255}},
      {"PRODUCTREMARK", {FieldKind::text, 255}},
      {"IMAGEFILENAME", {FieldKind::text, 255}},
      {"TECHNICALIMAGE", {FieldKind::text, 255}},
      {"URL", {FieldKind::text, 255}},
      {"PRODUCTXML", {FieldKind::text, 255}},
      {"BUYFROMCONTACTINFO", {FieldKind::text, 255}},
      {"BUYFROMCONTACTEMAIL", {FieldKind::text, 30}},
      {"CLASSIFICATION", {FieldKind::text, 32}},
  };
  const auto found = kFieldRules.find(upper_key);
  return found == kFieldRules.end() ? FieldRule{FieldKind::other, kOtherWidth} : found->second;
}

bool is_flag(const Variant& value) { return value.is_numeric() && (value.to_double() == 1 || value.to_double() == 0); }

bool is_separator(std::string_view text) {
  return std::find(std::begin(kSeparators), std::end(kSeparators), text) != std::end(kSeparators);
}

// The key goes to the end of the dictionary, with another value.
void replace(Dictionary& values, const Variant& key, std::string value) {
  values.Remove(key);
  values.Add(key, std::move(value));
}

void truncateValue(Dictionary& values, const Variant& key, const std::string& value, std::size_t width) {
  replace(values, key, std::string(text::left(value, width)));
}

std::string cut_to(std::size_t width) { return "cut to " + std::to_string(width) + " characters"; }

}  // namespace

// Judging.

DictionaryPtr ProductXML::getErrorsInProductValues(const std::string& iStringOrUrl, bool iIsUrl,
                                                   const std::string& iBuyFromPartNr) {
  return method([&] { return getErrorFields(*readOneProductFromXML(iStringOrUrl, iIsUrl, iBuyFromPartNr)); },
                Tail{"Mercato.ProductXML.getErrorsInProductValues", no_steps});
}

CollectionPtr ProductXML::GetCheckedProductUpdateList(const std::string& iStringOrUrl, bool iIsUrl) {
  return checked_list(iStringOrUrl, iIsUrl, CheckedList::existing_products);
}

CollectionPtr ProductXML::GetCheckedProductInsertList(const std::string& iStringOrUrl, bool iIsUrl) {
  return checked_list(iStringOrUrl, iIsUrl, CheckedList::all_records);
}

// The list of existing products takes names as they are written: `Productdescription` is not the required field there,
// and `Unit` is not UNITCODE. The list of all records takes them upper-cased. Both fail under the name of the former.
CollectionPtr ProductXML::checked_list(const std::string& iStringOrUrl, bool iIsUrl, CheckedList which) {
  return method(
      [&] {
        auto list = std::make_shared<Collection>();
        for (const xml::Node record : getProductNodeList(iStringOrUrl, iIsUrl)) {
          if (!upload::has_content(record)) continue;
          const std::string part_number = upload::part_number_of(record);
          Variant product_name;
          if (which == CheckedList::existing_products) {
            product_name = getProductName(part_number);
            if (product_name.is_null()) continue;
          }
          Dictionary values;
          for (const xml::Node field : record.children()) {
            if (field.type() != xml::NodeType::kElement) continue;
            std::string key(field.name());
            if (which == CheckedList::all_records) key = text::to_upper(key);
            if (key == "UNIT") key = "UNITCODE";
            std::string value = field.typed_value();
            if (key == upload::kSeparatorKey) SetMultipleBuyerSeparator(value);
            values.Set(std::move(key), std::move(value));
          }
          const bool valid = isValidProduct(values);
          if (which == CheckedList::all_records) product_name = values.Item("PRODUCTDESCRIPTION").to_text();
          auto entry = std::make_shared<Collection>();
          entry->Add(part_number);
          entry->Add(product_name);
          entry->Add(valid);
          list->Add(entry);
        }
        return list;
      },
      Tail{"Mercato.ProductXML.GetCheckedProductUpdateList", no_steps});
}

bool ProductXML::isValidProduct(Dictionary& values) { return getErrorFields(values)->Count() < 1; }

// A bad field that is required and empty, which only UNITCODE can be, is found twice: the second find raises 457.
DictionaryPtr ProductXML::getErrorFields(Dictionary& values) {
  return method(
      [&] {
        auto errors = std::make_shared<Dictionary>();
        const Array keys = values.Keys();
        const Array items = values.Items();
        read_unspsc_setting();
        for (std::int32_t index = 0; index <= keys.upper(); ++index)
          if (is_bad_field(values, keys.at(index), items.at(index))) errors->Add(keys.at(index), items.at(index));
        for (const char* field : kRequiredFields)
          if (values.Item(field).to_text().empty()) errors->Add(field, "");
        return errors;
      },
      Tail{"Mercato.ProductXML.getErrorFields", no_steps});
}

// Reading the partner of a pair, NUMBER for CONTRACTCODE and the other way round, creates it when the record lacks it.
bool ProductXML::is_bad_field(Dictionary& values, const Variant& key, const Variant& value) {
  const std::string field = key.to_text();
  switch (rule_of(text::to_upper(field)).kind) {
    case FieldKind::buyers:
      return !all_are_buyers(value.to_text());
    case FieldKind::commodity:
      return !Exists("COMMODITY", {{field, value, Quoting::text}});
    case FieldKind::unit:
      return !Exists("UNIT", {{"UNITDESCRIPTION", value, Quoting::text}}) &&
             !Exists("UNIT", {{"UNITCODE", value, Quoting::text}});
    case FieldKind::contract:
      return !Exists("CONTRACTLINES",
                     {{field, value, Quoting::text}, {"NUMBER", values.Item("NUMBER"), Quoting::none}});
    case FieldKind::contract_number:
      return !Exists("CONTRACTLINES",
                     {{field, value, Quoting::none}, {"CONTRACTCODE", values.Item("CONTRACTCODE"), Quoting::text}});
    case FieldKind::partner:
      return mBusinessPartner.GetBusinessPartnerID(value.to_text()).to_double() == kNoPartner;
    case FieldKind::date:
      return !IsValidUSDate(value.to_text());
    case FieldKind::number:
      return !value.is_numeric();
    case FieldKind::flag:
    case FieldKind::flag_only_judged:
      return !is_flag(value);
    case FieldKind::separator:
      SetMultipleBuyerSeparator(value.to_text());
      return !is_separator(MultipleBuyerSeparator());
    case FieldKind::unspsc_code:
      return unspsc_in_use() && !unspsc_code_exists(value.to_text());
    case FieldKind::hazardous_class:
      return !Exists("HAZARDOUSCLASS", {{"CLASSCODE", value, Quoting::text}});
    case FieldKind::text:
    case FieldKind::other:
      return false;
  }
  return false;
}

bool ProductXML::all_are_buyers(const std::string& list) {
  mUser.create();
  for (const std::string& part : text::split(list, buyer_separator_.or_default())) {
    if (part.empty()) continue;
    const std::string user(text::trim(part));
    if (!mUser.BuyerCheckFirst(user) || !mUser.BuyerCheckSecond(user, user)) return false;
  }
  return true;
}

// Repairing.

// Walks the values as they were at its start, also those of keys that it has changed meanwhile.
void ProductXML::getValidatedProductValues(Dictionary& values) {
  method(
      [&] {
        if (values.Count() == 0) return;
        const Array keys = values.Keys();
        const Array items = values.Items();
        read_unspsc_setting();
        for (std::int32_t index = 0; index <= keys.upper(); ++index)
          repair_field(values, keys.at(index), items.at(index));
      },
      Tail{"Mercato.ProductXML.getValidatedProductValues", no_steps});
}

void ProductXML::repair_field(Dictionary& values, const Variant& key, const Variant& item) {
  const std::string field = key.to_text();
  const std::string value = item.to_text();
  const FieldRule rule = rule_of(text::to_upper(field));
  const auto drop_unless = [&](bool good, std::string_view reason) {
    if (good) return;
    values.Remove(key);
    if (record_) record_->dropped.push_back({field, value, std::string(reason)});
  };
  const auto note_cut = [&](std::size_t width) {
    if (record_) record_->cut.push_back({field, value, cut_to(width)});
  };

  switch (rule.kind) {
    case FieldKind::buyers:
      values.Remove(key);
      values.Add("USERID", joined_buyers(value));
      break;
    case FieldKind::commodity:
      drop_unless(Exists("COMMODITY", {{field, item, Quoting::text}}), "no such commodity");
      break;
    case FieldKind::unit: {
      const std::string code = unit_code_of(value);
      if (code.empty())
        drop_unless(false, "no such unit");
      else
        replace(values, key, code);
      break;
    }
    case FieldKind::contract:
      drop_unless(
          Exists("CONTRACTLINES", {{field, item, Quoting::text}, {"NUMBER", values.Item("NUMBER"), Quoting::none}}),
          "no such contract line");
      break;
    case FieldKind::contract_number:
      drop_unless(Exists("CONTRACTLINES",
                         {{field, item, Quoting::none}, {"CONTRACTCODE", values.Item("CONTRACTCODE"), Quoting::text}}),
                  "no such contract line");
      break;
    case FieldKind::partner:  // an unknown one is handed on as "-1"
      values.Remove(key);
      values.Add("BUSINESSPARTNERID", mBusinessPartner.GetBusinessPartnerID(value).to_text());
      break;
    case FieldKind::date:
      drop_unless(IsValidUSDate(value), "not a date");
      break;
    case FieldKind::number:
      drop_unless(item.is_numeric(), "not a number");
      break;
    case FieldKind::flag:
      drop_unless(is_flag(item), "neither 0 nor 1");
      break;
    case FieldKind::separator:  // stays as an entry, and is never stored
      SetMultipleBuyerSeparator(value);
      buyer_separator_.or_default();
      break;
    case FieldKind::unspsc_code:
      if (unspsc_in_use()) drop_unless(unspsc_code_exists(value), "no such UNSPSC code");
      break;
    case FieldKind::hazardous_class:
      ask_for_hazardous_class(value);
      replace(values, key, value);
      break;
    case FieldKind::text:
      if (text::length(value) <= rule.width) break;
      truncateValue(values, key, value, rule.width);
      note_cut(rule.width);
      break;
    case FieldKind::flag_only_judged:
    case FieldKind::other:
      if (text::length(value) <= rule.width && text::length(field) <= rule.width) break;
      values.Remove(key);
      values.Add(text::left(field, rule.width), text::left(value, rule.width));
      note_cut(rule.width);
      break;
  }
}

// Each buyer with the separator before it. While no separator is set the list is one part, cut as a whole, and goes on
// without a separator: it is taken apart only when it is written.
std::string ProductXML::joined_buyers(const std::string& list) const {
  std::string joined;
  for (const std::string& part : text::split(list, MultipleBuyerSeparator()))
    if (!part.empty()) joined.append(MultipleBuyerSeparator()).append(text::left(part, kBuyerWidth));
  return joined;
}

std::string ProductXML::unit_code_of(const std::string& code_or_description) {
  if (!mUnit) mUnit = Gen_GetComponent("Mercato.Unit");
  return invoke(mUnit, "getUnitCodeFromDescription", {code_or_description}).to_text();
}

// The answer is not looked at: that the statement could be run is enough, so a class that does not exist is not caught.
void ProductXML::ask_for_hazardous_class(const std::string& class_code) {
  ConnectionPtr connection = GetConnection();
  Sql sql;
  sql << "SELECT * FROM HAZARDOUSCLASS WHERE CLASSCODE = '" << value(Gen_QuoteSql(class_code)) << "'";
  connection->Execute(sql);
  Sql_CloseConnection(connection);
}

// What both ask.

Variant ProductXML::getProductName(const std::string& iBuyFromPartNr) {
  RecordsetPtr rows;
  return method(
      [&]() -> Variant {
        Sql sql;
        sql << "SELECT PRODUCTDESCRIPTION FROM PRODUCT WHERE BUYFROMPARTNUMBER='" << value(Gen_QuoteSql(iBuyFromPartNr))
            << "'";
        rows = read_connection()->Execute(sql);
        Variant product_name = rows->Eof() ? Variant(kNull) : rows->Value("PRODUCTDESCRIPTION");
        Sql_CloseRecordset(rows);
        return product_name;
      },
      Tail{"Mercato.ProductXML.getProductName", [&] { Sql_CloseRecordset(rows); }});
}

bool ProductXML::Exists(std::string_view table, std::initializer_list<Comparison> comparisons) {
  Opened opened;
  return method(
      [&] {
        opened.connection = open_connection(shared_connection_string(), Isolation::read_committed);
        Sql sql;
        sql << "SELECT " << name(comparisons.begin()->field) << " FROM " << name(table) << " WHERE ";
        for (const Comparison& comparison : comparisons) {
          if (&comparison != comparisons.begin()) sql << " AND ";
          if (comparison.quoting == Quoting::text)
            sql << name(comparison.field) << "='" << value(Gen_QuoteSql(comparison.value.to_text())) << "'";
          else
            sql << name(comparison.field) << "=" << value(comparison.value.to_text());
        }
        opened.rows = open_read_only(sql, opened.connection);
        const bool found = !opened.rows->Eof();
        opened.close();
        return found;
      },
      Tail{"Mercato.ProductXML.Exists", [&] { opened.close(); }});
}

// The last two characters are the code, what stands before them its parent.
bool ProductXML::unspsc_code_exists(const std::string& whole_code) {
  const std::string_view code = text::trim(whole_code);
  if (text::length(code) < 2) raise(error_number::kInvalidArgument);
  return Exists("UNSPSCCODES", {{"PARENTCODE", text::without_last(code, 2), Quoting::text},
                                {"UNSPSCCODE", Variant(text::right(code, 2)).to_short(), Quoting::none}});
}

void ProductXML::read_unspsc_setting() {
  if (!mUNSPSCImplemented.is_empty()) return;
  grundwerk::Configuration configuration;
  configuration.PrepareParameters(false);
  const Variant setting = configuration.GetParameter("COMMONPARAMETERS", "UNSPSCIMPLEMENTED");
  mUNSPSCImplemented = setting.is_null() ? setting : Variant(text::to_upper(setting.to_text()));
}

bool ProductXML::unspsc_in_use() const { return mUNSPSCImplemented == Variant(kUnspscInUse); }

}  // namespace mercato
