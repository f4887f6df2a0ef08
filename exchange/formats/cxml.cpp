// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/cxml.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "exchange/formats/item_building.h"
#include "exchange/formats/language_texts.h"
#include "exchange/input/xml_pieces.h"
#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

class CxmlReader final : public XmlReader {
 public:
  CxmlReader(const ReadingOptions& options, ItemSink& sink) : sink_(sink), texts_(options.language, "lang", sink) {}

  bool is_frame(std::string_view name) const override {
    constexpr auto kFrames = std::to_array<std::string_view>({"Message", "Request", "Response", "Index", "IndexItem"});
    return std::ranges::find(kFrames, name) != kFrames.end();
  }

  void frame(const XmlElement& begin) override {
    if (!is_begun_ && begin.name != "cXML" && begin.name != "Index")
      raise(error_number::kInvalidArgument, {}, "This is no cXML: its root is " + std::string(begin.name));
    is_begun_ = true;
    if (begin.name == "cXML") {
      header_.set("LANGUAGE", begin.attribute("lang"));
      texts_.set_own(begin.attribute("lang"));
    }
    if (begin.name == "Index") header_.show("load mode", begin.attribute("loadmode"));
  }

  void piece(const XmlElement& piece, std::string_view frame) override {
    if (frame == "Index" && piece.name == "SupplierID") return header_.set("SUPPLIER", piece.text);
    if (frame == "IndexItem" && piece.name == "IndexItemAdd") return add(piece);
    if (frame == "IndexItem" && piece.name == "IndexItemDelete") return remove(piece);
    if (frame == "cXML" && piece.name == "Header") return;
    sink_.left_out(piece.name, piece.place);
  }

  void flawed_piece(const XmlElement& piece, std::string_view reason) override {
    sink_.flawed(number_of(piece), with(piece.name, reason), piece.place);
  }

  void tell_header() { header_.tell(sink_); }

 private:
  static std::string_view number_of(const XmlElement& entry) {
    const XmlElement* const id = entry.child("ItemID");
    return id ? id->text_of("SupplierPartID") : std::string_view();
  }

  // Answers false when it has none, which is told.
  bool begin_item(const XmlElement& entry, Item& item) {
    tell_header();
    item.number = number_of(entry);
    item.place = entry.place;
    if (!item.number.empty()) return true;
    sink_.flawed({}, with(entry.name, "has no SupplierPartID"), entry.place);
    return false;
  }

  void remove(const XmlElement& entry) {
    Item item;
    if (!begin_item(entry, item)) return;
    item.action = Item::Action::remove;
    sink_.item(std::move(item));
  }

  void add(const XmlElement& entry) {
    ItemBuilder built;
    if (!begin_item(entry, built.item)) return;
    for (const XmlElement& part : entry.children) {
      if (part.name == "ItemID")
        id(part, built);
      else if (part.name == "ItemDetail")
        detail(part, built);
      else if (part.name == "IndexItemDetail")
        index_detail(part, built);
      else
        sink_.left_out(part.name, part.place);
    }
    sink_.item(std::move(built.item));
  }

  // The auxiliary part belongs to the number where a supplier sells one thing in several ways.
  void id(const XmlElement& element, ItemBuilder& built) {
    for (const XmlElement& child : element.children) {
      if (child.name == "SupplierPartID") continue;
      if (child.name == "SupplierPartAuxiliaryID")
        built.property(child.name, child.text, child.place);
      else
        sink_.left_out(child.name, child.place);
    }
  }

  void detail(const XmlElement& element, ItemBuilder& built) {
    description(element, built);
    const std::string_view unit = element.text_of("UnitOfMeasure");
    for (const XmlElement& child : element.children) {
      if (child.name == "Description" || child.name == "PriceBasisQuantity") continue;
      if (child.name == "UnitPrice")
        price(child, element.child("PriceBasisQuantity"), unit, built.item);
      else if (child.name == "UnitOfMeasure")
        field("UNITCODE", child, built);
      else if (child.name == "Classification")
        classification(child, built);
      else if (child.name == "ManufacturerPartID")
        field("MFRPARTNUMBER", child, built);
      else if (child.name == "ManufacturerName")
        built.property("MANUFACTURER", child.text, child.place);
      else if (child.name == "URL")
        field("URL", child, built);
      else
        common(child, built);
    }
  }

  void index_detail(const XmlElement& element, ItemBuilder& built) {
    for (const XmlElement& child : element.children) {
      if (child.name == "EffectiveDate")
        built.field("PRODUCTEFFECTIVITYDATE", day_of(child.text), child.place);
      else if (child.name == "ExpirationDate")
        built.field("PRODUCTEXPIRYDATE", day_of(child.text), child.place);
      else if (child.name == "SearchGroupData")
        search_data(child, built);
      else
        common(child, built);
    }
  }

  // What stands in either detail, by the version of the format.
  void common(const XmlElement& child, ItemBuilder& built) {
    if (child.name == "LeadTime") return field("DELIVERYLEADTIME", child, built);
    if (child.name != "Extrinsic") return sink_.left_out(child.name, child.place);
    const std::string_view name = child.attribute("name");
    const bool is_picture = text::equal_names(name, "ImageURL") || text::equal_names(name, "Image");
    if (is_picture && built.field("IMAGEFILENAME", child.text, child.place)) return;
    if (name.empty() || !child.children.empty()) return sink_.left_out(with(child.name, name), child.place);
    built.property(name, child.text, child.place);
  }

  void field(std::string_view column, const XmlElement& child, ItemBuilder& built) {
    if (!built.field(column, child.text, child.place)) sink_.left_out(child.name, child.place);
  }

  // The short name is what a product is called, if there is one, and the text beside it says more.
  void description(const XmlElement& element, ItemBuilder& built) {
    if (const XmlElement* const first = element.child("Description")) texts_.set_own(first->attribute("lang"));
    for (const XmlElement* const one : texts_.chosen(element, "Description")) {
      const std::string_view name = one->text_of("ShortName");
      const bool is_told = built.field("PRODUCTDESCRIPTION", name.empty() ? one->text : name, one->place) &&
                           (name.empty() || built.field("PRODUCTREMARK", one->text, one->place));
      if (!is_told) sink_.left_out("Description", one->place);
    }
  }

  void classification(const XmlElement& element, ItemBuilder& built) {
    const std::string_view domain = element.attribute("domain");
    if (text::to_upper(domain).starts_with("UNSPSC") || text::equal_names(domain, "SPSC")) {
      if (!built.field("UNSPSCCODE", element.text, element.place))
        sink_.left_out(with(element.name, domain), element.place);
    } else if (domain.empty()) {
      if (!element.text.empty()) sink_.left_out(element.name, element.place);
    } else {
      built.property(domain, element.text, element.place);
    }
  }

  static void search_data(const XmlElement& element, ItemBuilder& built) {
    for (const XmlElement& child : element.children)
      if (child.name == "SearchDataElement")
        built.property(child.attribute("name"), child.attribute("value"), child.place);
  }

  void price(const XmlElement& element, const XmlElement* basis, std::string_view unit, Item& item) {
    const XmlElement* const money = element.child("Money");
    if (!money || money->text.empty()) return sink_.left_out("UnitPrice without Money", element.place);
    ItemPrice price;
    price.amount = money->text;
    price.currency = money->attribute("currency");
    price.place = money->place;
    if (basis) {
      // In another unit the price is for something that is not ordered; how much of it an order has is not said.
      const std::string_view other = basis->text_of("UnitOfMeasure");
      if (!other.empty() && other != unit)
        return sink_.left_out(with("UnitPrice with PriceBasisQuantity in", other), element.place);
      price.amount_for = basis->attribute("quantity");
    }
    for (const XmlElement& child : element.children)
      if (child.name != "Money") sink_.left_out(with(element.name, child.name), child.place);
    item.prices.push_back(std::move(price));
  }

  ItemSink& sink_;
  LanguageTexts texts_;
  FileHeader header_;
  bool is_begun_ = false;
};

}  // namespace

// Other documents of cXML have the same root: orders, invoices.
bool is_cxml(std::string_view begin) {
  const std::string root = root_of_xml(begin);
  return root == "Index" || (root == "cXML" && begin.find("<Index") != begin.npos);
}

void read_cxml(Bytes& bytes, const ReadingOptions& options, ItemSink& sink) {
  CxmlReader reader(options, sink);
  read_xml(bytes, reader);
  reader.tell_header();
}

}  // namespace mercato::exchange
