// SPDX-License-Identifier: Apache-2.0
#include "upload/price_reading.h"

#include "frame/method.h"
#include "upload/upload_documents.h"

namespace mercato::upload {
namespace {

DictionaryPtr prices_of(const std::vector<xml::NodeList>& records) {
  auto prices = std::make_shared<Dictionary>();
  for (std::size_t index = 0; index < records.size(); ++index)
    prices->Add(price_key(index + 1), price_of(records[index]));
  return prices;
}

}  // namespace

DictionaryPtr price_of(const xml::NodeList& children) {
  auto price = std::make_shared<Dictionary>();
  price->reserve(children.size());
  for (const xml::Node field : children)
    if (field.type() == xml::NodeType::kElement) price->Add(field.name(), field.typed_value());
  return price;
}

std::string price_key(std::size_t number) { return "PRICE " + std::to_string(number); }

DictionaryPtr PriceReader::readProductPriceFromXML(const std::string& iStringOrUrl, bool iIsUrl,
                                                   const std::string& iBuyFromPartNr) const {
  return method([&] { return prices_of(getPriceNodes(getPriceNodeList(iStringOrUrl, iIsUrl), iBuyFromPartNr)); },
                Tail{"Mercato.PriceXML.readProductPriceFromXML", no_steps});
}

xml::NodeList PriceReader::getPriceNodeList(const std::string& iStringOrUrl, bool iIsUrl) const {
  return method([&] { return load_records(kPriceDocument, iStringOrUrl, iIsUrl); },
                Tail{"Mercato.PriceXML.getPriceNodeList", no_steps});
}

// A record without the attribute fails the search, wherever it stands.
PriceReader::PriceNodes PriceReader::getPriceNodes(const xml::NodeList& records, const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        PriceNodes found;
        for (const xml::Node record : records)
          if (part_number_of(record) == iBuyFromPartNr) found.push_back(record.children());
        return found;
      },
      Tail{"Mercato.PriceXML.getPriceNodes", no_steps});
}

bool PriceReader::price_nodes_left2(const xml::Document& document) {
  return method(
      [&] {
        if (mPriceNodeList == 0) mPriceNodeList = records_in(kPriceDocument, document);
        return mPriceNodeList >= 1;
      },
      Tail{"Mercato.PriceXML.getPriceNodeList2", no_steps});
}

PriceReader::PriceNodes PriceReader::getPriceNodes2(const xml::Document& document, const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        PriceNodes found;
        for (const xml::Node record : document.select(records_of(kPriceDocument, iBuyFromPartNr)))
          found.push_back(record.children());
        return found;
      },
      Tail{"Mercato.PriceXML.getPriceNodes2", no_steps});
}

DictionaryPtr PriceReader::readProductPriceFromXML2(const xml::Document& document,
                                                    const std::string& iBuyFromPartNr) const {
  return method([&] { return prices_of(getPriceNodes2(document, iBuyFromPartNr)); },
                Tail{"Mercato.PriceXML.readProductPriceFromXML2", no_steps});
}

}  // namespace mercato::upload
