// SPDX-License-Identifier: Apache-2.0
#include "upload/product_reading.h"

#include "frame/method.h"
#include "upload/product_fields.h"
#include "upload/upload_documents.h"
#include "values/text.h"

namespace mercato::upload {
namespace {

std::string field_key(const xml::Node& field, ProductReader::Names names) {
  std::string key(field.name());
  if (names == ProductReader::Names::upper_cased) key = text::to_upper(key);
  return key == "UNIT" ? "UNITCODE" : key;
}

}  // namespace

CollectionPtr ProductReader::readBFPartNumbersFromXML(const std::string& iStringOrUrl, bool iIsUrl) const {
  return method(
      [&] {
        auto part_numbers = std::make_shared<Collection>();
        for (const xml::Node record : getProductNodeList(iStringOrUrl, iIsUrl))
          if (record.has_children()) part_numbers->Add(part_number_of(record));
        return part_numbers;
      },
      Tail{"Mercato.ProductXML.readBFPartNumbersFromXML", no_steps});
}

DictionaryPtr ProductReader::readOneProductFromXML(const std::string& iStringOrUrl, bool iIsUrl,
                                                   const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        auto values = std::make_shared<Dictionary>();
        for (const xml::Node field : getProductNodes(getProductNodeList(iStringOrUrl, iIsUrl), iBuyFromPartNr)) {
          if (field.type() != xml::NodeType::kElement) continue;
          const std::string key = field_key(field, Names::upper_cased);
          std::string value = field.typed_value();
          if (key == "GTIN" && !value.empty()) value = full_length_gtin(value);
          if (key == kSeparatorKey) separator_.set(value);
          values->Set(key, std::move(value));
        }
        return values;
      },
      Tail{"Mercato.ProductXML.readOneProductFromXML", no_steps});
}

DictionaryPtr ProductReader::readOneProductFromXML2(const xml::Document& document, const std::string& iBuyFromPartNr) {
  return method(
      [&] { return fields_of(getProductNodes2(document, iBuyFromPartNr).item(0).children(), Names::upper_cased); },
      Tail{"Mercato.ProductXML.readOneProductFromXML2", no_steps});
}

DictionaryPtr ProductReader::fields_of(const xml::NodeList& children, Names names) {
  auto values = std::make_shared<Dictionary>();
  values->reserve(children.size());
  for (const xml::Node field : children) {
    if (field.type() != xml::NodeType::kElement) continue;
    std::string key = field_key(field, names);
    std::string value = field.typed_value();
    if (key == kSeparatorKey) separator_.set(value);
    values->Set(std::move(key), std::move(value));
  }
  return values;
}

xml::NodeList ProductReader::getProductNodeList(const std::string& iStringOrUrl, bool iIsUrl) const {
  return method([&] { return load_records(kProductDocument, iStringOrUrl, iIsUrl); },
                Tail{"Mercato.ProductXML.getProductNodeList", no_steps});
}

// The children of the first match, none without a match. A record without the attribute fails the search only when it
// stands before the match.
xml::NodeList ProductReader::getProductNodes(const xml::NodeList& records, const std::string& iBuyFromPartNr) {
  return method(
      [&] {
        for (const xml::Node record : records)
          if (part_number_of(record) == iBuyFromPartNr) return record.children();
        return xml::NodeList();
      },
      Tail{"Mercato.ProductXML.getProductNodes", no_steps});
}

xml::NodeList ProductReader::getProductNodes2(const xml::Document& document, const std::string& iBuyFromPartNr) {
  return method([&] { return document.select(records_of(kProductDocument, iBuyFromPartNr)); },
                Tail{"Mercato.ProductXML.getProductNodes2", no_steps});
}

bool ProductReader::product_nodes_left2(const xml::Document& document) {
  return method(
      [&] {
        if (mProductNodeList == 0) mProductNodeList = records_in(kProductDocument, document);
        return mProductNodeList >= 1;
      },
      Tail{"Mercato.ProductXML.getProductNodeList2", no_steps});
}

}  // namespace mercato::upload
