// SPDX-License-Identifier: Apache-2.0
// The previews: read, judge, list. Nothing is written.
#include "frame/method.h"
#include "mercato/collection.h"
#include "upload/price_xml_internal.h"
#include "upload/upload_documents.h"

namespace mercato {
namespace {

// More records do not fit the counter.
constexpr std::size_t kMostRecords = 32767;

struct CheckedPrice {
  std::string part_number;
  std::string product_name;
  bool valid = false;
};

// One entry for each part number, at the place of its last line.
DictionaryPtr by_part_number(const std::vector<CheckedPrice>& prices) {
  auto list = std::make_shared<Dictionary>();
  for (const CheckedPrice& price : prices) {
    if (price.part_number.empty()) continue;
    bool valid = price.valid;
    if (list->Exists(price.part_number)) {
      valid = list->Item(price.part_number).to<Collection>()->Item(3).to_boolean() && valid;
      list->Remove(price.part_number);
    }
    auto entry = std::make_shared<Collection>();
    entry->Add(price.part_number);
    entry->Add(price.product_name);
    entry->Add(valid);
    list->Add(price.part_number, entry);
  }
  return list;
}

}  // namespace

DictionaryPtr PriceXML::GetErrorsInPriceValues(const std::string& iStringOrUrl, bool iIsUrl,
                                               const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        auto errors = std::make_shared<Dictionary>();
        const Array prices = readProductPriceFromXML(iStringOrUrl, iIsUrl, iBuyFromPartNr)->Items();
        for (std::size_t index = 0; index < prices.items.size(); ++index)
          errors->Add(upload::price_key(index + 1),
                      parts_->judge.getErrorFields(*prices.items[index].to<Dictionary>()));
        return errors;
      },
      Tail{"Mercato.PriceXML.GetErrorsInPriceValues", no_steps});
}

// A record whose product is unknown keeps its place in the list only until the next one takes it.
DictionaryPtr PriceXML::GetCheckedPriceList(const std::string& iStringOrUrl, bool iIsUrl) {
  return method(
      [&] {
        const xml::NodeList records = parts_->reader.getPriceNodeList(iStringOrUrl, iIsUrl);
        if (records.empty()) return std::make_shared<Dictionary>();
        if (records.size() > kMostRecords) raise(error_number::kOverflow);
        parts_->judge.load_currencies();

        std::vector<CheckedPrice> prices(records.size());
        std::size_t place = 0;
        for (const xml::Node record : records) {
          if (!upload::has_content(record)) continue;
          CheckedPrice& price = prices[place];
          price.part_number = upload::part_number_of(record);
          price.product_name = parts_->getProductNameOrID(price.part_number, Parts::Wanted::name).to_text();
          if (price.product_name.empty()) continue;
          price.valid = parts_->judge.isValidPrice(*upload::price_of(record.children()));
          ++place;
        }
        return by_part_number(prices);
      },
      Tail{"Mercato.PriceXML.GetCheckedPriceList", no_steps});
}

}  // namespace mercato
