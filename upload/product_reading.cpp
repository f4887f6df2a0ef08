// Documents to dictionaries. The plain readers load the document at each call; those that end in 2 work on a loaded
// one. The two are not equivalent: a part number that the document lacks is an empty dictionary for the one and a
// failure for the other, and only the plain one fills up a GTIN.
#include "upload/product_xml_internal.h"
#include "values/text.h"

namespace mercato {

using upload::kProductDocument;
using upload::kSeparatorKey;

namespace {

std::string field_key(const xml::Node& field) {
  std::string key = text::to_upper(field.name());
  return key == "UNIT" ? "UNITCODE" : key;
}

}  // namespace

CollectionPtr ProductXML::readBFPartNumbersFromXML(const std::string& iStringOrUrl, bool iIsUrl) {
  return method(
      [&] {
        auto part_numbers = std::make_shared<Collection>();
        for (const xml::Node record : getProductNodeList(iStringOrUrl, iIsUrl))
          if (record.has_children()) part_numbers->Add(upload::part_number_of(record));
        return part_numbers;
      },
      Tail{"Mercato.ProductXML.readBFPartNumbersFromXML", no_steps});
}

DictionaryPtr ProductXML::readOneProductFromXML(const std::string& iStringOrUrl, bool iIsUrl,
                                                const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        auto values = std::make_shared<Dictionary>();
        for (const xml::Node field : getProductNodes(getProductNodeList(iStringOrUrl, iIsUrl), iBuyFromPartNr)) {
          if (field.type() != xml::NodeType::kElement) continue;
          const std::string key = field_key(field);
          std::string value = field.typed_value();
          if (key == "GTIN" && !value.empty()) value = full_length_gtin(value);
          if (key == kSeparatorKey) SetMultipleBuyerSeparator(value);
          values->Set(key, std::move(value));
        }
        return values;
      },
      Tail{"Mercato.ProductXML.readOneProductFromXML", no_steps});
}

xml::NodeList ProductXML::getProductNodeList(const std::string& iStringOrUrl, bool iIsUrl) {
  return method([&] { return upload::load_records(kProductDocument, iStringOrUrl, iIsUrl); },
                Tail{"Mercato.ProductXML.getProductNodeList", no_steps});
}

// The children of the first match, none without a match. A record without the attribute fails the search only when it
// stands before the match.
xml::NodeList ProductXML::getProductNodes(const xml::NodeList& records, const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        for (const xml::Node record : records)
          if (upload::part_number_of(record) == iBuyFromPartNr) return record.children();
        return xml::NodeList();
      },
      Tail{"Mercato.ProductXML.getProductNodes", no_steps});
}

// Whether the document still has records. Once one had, the answer holds for every document after it.
bool ProductXML::product_nodes_left2(const xml::Document& document) {
  return method(
      [&] {
        if (mProductNodeList == 0) mProductNodeList = upload::records_in(kProductDocument, document);
        return mProductNodeList >= 1;
      },
      Tail{"Mercato.ProductXML.getProductNodeList2", no_steps});
}

xml::NodeList ProductXML::getProductNodes2(const xml::Document& document, const std::string& iBuyFromPartNr) {
  return method([&] { return document.select(upload::records_of(kProductDocument, iBuyFromPartNr)); },
                Tail{"Mercato.ProductXML.getProductNodes2", no_steps});
}

DictionaryPtr ProductXML::readOneProductFromXML2(const xml::Document& document, const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        const xml::NodeList fields = getProductNodes2(document, iBuyFromPartNr).item(0).children();
        auto values = std::make_shared<Dictionary>();
        values->reserve(fields.size());
        for (const xml::Node field : fields) {
          if (field.type() != xml::NodeType::kElement) continue;
          std::string key = field_key(field);
          std::string value = field.typed_value();
          if (key == kSeparatorKey) SetMultipleBuyerSeparator(value);
          values->Set(std::move(key), std::move(value));
        }
        return values;
      },
      Tail{"Mercato.ProductXML.readOneProductFromXML2", no_steps});
}

}  // namespace mercato
