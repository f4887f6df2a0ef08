// Documents to dictionaries. The plain readers load the document at each call; those that end in 2 work on a loaded one
// and cannot find a part number with an apostrophe.
#include "upload/price_xml_internal.h"

namespace mercato {

using upload::kPriceDocument;

namespace upload {

DictionaryPtr price_of(const xml::NodeList& fields) {
  auto price = std::make_shared<Dictionary>();
  price->reserve(fields.size());
  for (const xml::Node field : fields)
    if (field.type() == xml::NodeType::kElement) price->Add(field.name(), field.typed_value());
  return price;
}

std::string price_key(std::size_t number) { return "PRICE " + std::to_string(number); }

}  // namespace upload

namespace {

DictionaryPtr prices_of(const std::vector<xml::NodeList>& records) {
  auto prices = std::make_shared<Dictionary>();
  for (std::size_t index = 0; index < records.size(); ++index)
    prices->Add(upload::price_key(index + 1), upload::price_of(records[index]));
  return prices;
}

}  // namespace

DictionaryPtr PriceXML::readProductPriceFromXML(const std::string& iStringOrUrl, bool iIsUrl,
                                                const std::string& iBuyFromPartNr) {
  return method([&] { return prices_of(getPriceNodes(getPriceNodeList(iStringOrUrl, iIsUrl), iBuyFromPartNr)); },
                Tail{"Mercato.PriceXML.readProductPriceFromXML", no_steps});
}

xml::NodeList PriceXML::getPriceNodeList(const std::string& iStringOrUrl, bool iIsUrl) {
  return method([&] { return upload::load_records(kPriceDocument, iStringOrUrl, iIsUrl); },
                Tail{"Mercato.PriceXML.getPriceNodeList", no_steps});
}

// A record without the attribute fails the search, wherever it stands.
PriceXML::PriceNodes PriceXML::getPriceNodes(const xml::NodeList& records, const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        PriceNodes found;
        for (const xml::Node record : records)
          if (upload::part_number_of(record) == iBuyFromPartNr) found.push_back(record.children());
        return found;
      },
      Tail{"Mercato.PriceXML.getPriceNodes", no_steps});
}

// Whether the document still has records. Once one had, the answer holds for every document after it.
bool PriceXML::price_nodes_left2(const xml::Document& document) {
  return method(
      [&] {
        if (mPriceNodeList == 0) mPriceNodeList = upload::records_in(kPriceDocument, document);
        return mPriceNodeList >= 1;
      },
      Tail{"Mercato.PriceXML.getPriceNodeList2", no_steps});
}

PriceXML::PriceNodes PriceXML::getPriceNodes2(const xml::Document& document, const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        PriceNodes found;
        for (const xml::Node record : document.select(upload::records_of(kPriceDocument, iBuyFromPartNr)))
          found.push_back(record.children());
        return found;
      },
      Tail{"Mercato.PriceXML.getPriceNodes2", no_steps});
}

DictionaryPtr PriceXML::readProductPriceFromXML2(const xml::Document& document, const std::string& iBuyFromPartNr) {
  return method([&] { return prices_of(getPriceNodes2(document, iBuyFromPartNr)); },
                Tail{"Mercato.PriceXML.readProductPriceFromXML2", no_steps});
}

}  // namespace mercato
