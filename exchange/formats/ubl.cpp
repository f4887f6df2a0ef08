// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/ubl.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>
#include <utility>

#include "exchange/formats/item_building.h"
#include "exchange/formats/language_texts.h"
#include "exchange/input/xml_pieces.h"
#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

// The text of the element at the end of a path; empty when there is none.
std::string_view text_at(const XmlElement& element, std::initializer_list<std::string_view> path) {
  const XmlElement* at = &element;
  for (const std::string_view name : path)
    if (!(at = at->child(name))) return {};
  return at->text;
}

class UblReader final : public XmlReader {
 public:
  UblReader(const ReadingOptions& options, ItemSink& sink)
      : options_(options), sink_(sink), texts_(options.language, "languageID", sink) {}

  bool is_frame(std::string_view) const override { return false; }

  void frame(const XmlElement& begin) override {
    if (begin.name != "Catalogue")
      raise(error_number::kInvalidArgument, {}, "This is no UBL catalogue: its root is " + std::string(begin.name));
  }

  void piece(const XmlElement& piece, std::string_view) override {
    if (piece.name == "CatalogueLine") return line(piece);
    tell_of_file(piece);
  }

  void flawed_piece(const XmlElement& piece, std::string_view reason) override {
    const XmlElement* const item = piece.child("Item");
    sink_.flawed(item ? number_of(*item) : std::string_view(), with(piece.name, reason), piece.place);
  }

  void tell_header() { header_.tell(sink_); }

 private:
  // What stands in front of the lines.
  void tell_of_file(const XmlElement& piece) {
    if (piece.name == "ID") return header_.show("catalogue", piece.text);
    if (piece.name == "VersionID") return header_.show("version", piece.text);
    if (piece.name == "ActionCode") return header_.show("action", piece.text);
    if (piece.name == "ValidityPeriod") {
      header_.set("FROM", piece.text_of("StartDate"));
      return header_.set("TO", piece.text_of("EndDate"));
    }
    if (piece.name == "SellerSupplierParty") return header_.set("SUPPLIER", party(piece));
    if (piece.name == "ContractorCustomerParty") return header_.show("buyer", party(piece));
    constexpr auto kOfTheMessage =
        std::to_array<std::string_view>({"UBLVersionID", "CustomizationID", "ProfileID", "UUID", "Name", "IssueDate",
                                         "IssueTime", "ProviderParty", "ReceiverParty", "SourceCatalogueReference"});
    if (std::ranges::find(kOfTheMessage, piece.name) == kOfTheMessage.end()) sink_.left_out(piece.name, piece.place);
  }

  static std::string_view party(const XmlElement& element) {
    const XmlElement* const party = element.child("Party");
    if (!party) return {};
    for (const std::string_view id : {text_at(*party, {"PartyIdentification", "ID"}), text_at(*party, {"EndpointID"}),
                                      text_at(*party, {"PartyName", "Name"})})
      if (!id.empty()) return id;
    return {};
  }

  static std::string_view number_of(const XmlElement& item) {
    const std::string_view own = text_at(item, {"SellersItemIdentification", "ID"});
    return own.empty() ? text_at(item, {"StandardItemIdentification", "ID"}) : own;
  }

  void line(const XmlElement& element) {
    tell_header();
    const XmlElement* const item = element.child("Item");
    ItemBuilder built;
    if (item) built.item.number = number_of(*item);
    built.item.place = element.place;
    const auto flawed = [&](const std::string& reason) { sink_.flawed(built.item.number, reason, element.place); };
    if (built.item.number.empty())
      return flawed("CatalogueLine has an item without a number of the seller or a standard");
    const std::string_view action = element.text_of("ActionCode");
    if (action == "Delete")
      built.item.action = Item::Action::remove;
    else if (action == "Update")
      built.item.action = Item::Action::update;
    else if (!action.empty() && action != "Add")
      return flawed("its action is " + std::string(action) + "; known are Add, Update and Delete");
    if (built.item.action == Item::Action::remove) return sink_.item(std::move(built.item));
    // A pack that is only described, because others are made of it.
    if (text::equal_names(element.text_of("OrderableIndicator"), "false"))
      return sink_.left_out("CatalogueLine that is not orderable", element.place);

    const std::string_view tax = text_at(*item, {"ClassifiedTaxCategory", "Percent"});
    const std::string_view kind = price_kind(element);
    for (const XmlElement& child : element.children) {
      if (child.name == "OrderableUnit")
        field("UNITCODE", child, built);
      else if (child.name == "MinimumOrderQuantity")
        field("MINORDERQTY", child, built);
      else if (child.name == "OrderQuantityIncrementNumeric")
        field("MULTIPLEOF", child, built);
      else if (child.name == "ContentUnitQuantity")
        built.property(child.name, with(child.text, child.attribute("unitCode")), child.place);
      else if (child.name == "LineValidityPeriod")
        validity(child, built);
      else if (child.name == "RequiredItemLocationQuantity")
        location_quantity(child, element.text_of("OrderableUnit"), kind, tax, built);
      else if (child.name == "Item")
        this->item(child, built);
      else if (child.name != "ID" && child.name != "ActionCode" && child.name != "OrderableIndicator")
        sink_.left_out(child.name, child.place);
    }
    sink_.item(std::move(built.item));
  }

  void field(std::string_view column, const XmlElement& child, ItemBuilder& built) {
    if (!built.field(column, child.text, child.place)) sink_.left_out(child.name, child.place);
  }

  static void validity(const XmlElement& period, ItemBuilder& built) {
    built.field("PRODUCTEFFECTIVITYDATE", period.text_of("StartDate"), period.place);
    built.field("PRODUCTEXPIRYDATE", period.text_of("EndDate"), period.place);
  }

  // ---- prices

  std::string_view price_kind(const XmlElement& line) const {
    if (!options_.price_kind.empty()) return options_.price_kind;
    for (const XmlElement& child : line.children)
      if (const XmlElement* const price = child.child("Price")) return price->text_of("PriceType");
    return {};
  }

  void location_quantity(const XmlElement& element, std::string_view unit, std::string_view kind, std::string_view tax,
                         ItemBuilder& built) {
    if (const XmlElement* const time = element.child("LeadTimeMeasure")) {
      const std::string_view measure = time->attribute("unitCode");
      const bool is_days = measure.empty() || measure == "DAY";
      if (!is_days || !built.field("DELIVERYLEADTIME", time->text, time->place))
        sink_.left_out(with(time->name, measure), time->place);
    }
    const XmlElement* const element_of_price = element.child("Price");
    if (!element_of_price) return;
    const auto leave_out = [&](const std::string& why) { sink_.left_out(with("Price", why), element_of_price->place); };
    if (element_of_price->text_of("PriceType") != kind)
      return leave_out(std::string(element_of_price->text_of("PriceType")));

    ItemPrice price;
    price.place = element_of_price->place;
    const XmlElement* const amount = element_of_price->child("PriceAmount");
    if (!amount || amount->text.empty()) return leave_out("without PriceAmount");
    price.amount = amount->text;
    price.currency = amount->attribute("currencyID");
    price.factor = element_of_price->text_of("OrderableUnitFactorRate");
    if (const XmlElement* const base = element_of_price->child("BaseQuantity")) {
      const std::string_view base_unit = base->attribute("unitCode");
      if (price.factor.empty() && !unit.empty() && !base_unit.empty() && base_unit != unit)
        return leave_out("for " + std::string(base_unit) + " without OrderableUnitFactorRate");
      price.amount_for = base->text;
    }
    price.from_quantity = element.text_of("MinimumQuantity");
    price.from_day = text_at(*element_of_price, {"ValidityPeriod", "StartDate"});
    price.to_day = text_at(*element_of_price, {"ValidityPeriod", "EndDate"});
    price.tax_percentage = tax;
    std::string_view territory = text_at(element, {"ApplicableTerritoryAddress", "Country", "IdentificationCode"});
    if (territory.empty()) territory = text_at(element, {"ApplicableTerritoryAddress", "CountrySubentity"});
    if (!options_.territory.empty() && !territory.empty()) {
      if (!text::equal_names(territory, options_.territory)) return leave_out(std::string(territory));
      territory = {};
    }
    price.group = territory;
    built.item.prices.push_back(std::move(price));
  }

  // ---- the item itself

  void item(const XmlElement& element, ItemBuilder& built) {
    in_words("Name", "PRODUCTDESCRIPTION", element, built);
    in_words("Description", "PRODUCTREMARK", element, built);
    for (const XmlElement& child : element.children) {
      const std::string_view name = child.name;
      if (name == "Name" || name == "Description" || name == "SellersItemIdentification") continue;
      if (name == "ManufacturersItemIdentification")
        built.field("MFRPARTNUMBER", child.text_of("ID"), child.place);
      else if (name == "BuyersItemIdentification")
        built.field("PARTNUMBER", child.text_of("ID"), child.place);
      else if (name == "StandardItemIdentification")
        standard_number(child, built);
      else if (name == "CommodityClassification")
        classification(child, built);
      else if (name == "AdditionalItemProperty")
        additional_property(child, built);
      else if (name == "ManufacturerParty")
        built.property("MANUFACTURER", text_at(child, {"PartyName", "Name"}), child.place);
      else if (name == "OriginCountry")
        built.property("COUNTRY_OF_ORIGIN", child.text_of("IdentificationCode"), child.place);
      else if (name == "BrandName" || name == "PackSizeNumeric")
        built.property(name, child.text, child.place);
      else if (name == "PackQuantity")
        built.property(name, with(child.text, child.attribute("unitCode")), child.place);
      else if (name == "HazardousItem")
        hazard(child, built);
      else if (name == "Dimension")
        dimension(child, built);
      else if (name == "ItemSpecificationDocumentReference")
        document(child, built);
      else if (name != "ClassifiedTaxCategory")
        sink_.left_out(name, child.place);
    }
  }

  void in_words(std::string_view name, std::string_view column, const XmlElement& element, ItemBuilder& built) {
    if (const XmlElement* const first = element.child(name))
      built.field(column, texts_.text(element, name), first->place);
  }

  // 0160 is the list of the numbers of GS1.
  void standard_number(const XmlElement& element, ItemBuilder& built) {
    const XmlElement* const id = element.child("ID");
    if (!id) return;
    const std::string_view scheme = id->attribute("schemeID");
    const bool is_gtin = scheme.empty() || scheme == "0160" || text::equal_names(scheme, "GTIN");
    if (!is_gtin || !built.field("GTIN", id->text, id->place)) sink_.left_out(with(element.name, scheme), id->place);
  }

  void classification(const XmlElement& element, ItemBuilder& built) {
    for (const XmlElement& code : element.children) {
      const std::string list = text::to_upper(code.attribute("listID"));
      if (code.name != "ItemClassificationCode" || list.empty()) {
        sink_.left_out(code.name, code.place);
      } else if (list == "STI" || list == "TST" || list.starts_with("UNSPSC")) {
        if (!built.field("UNSPSCCODE", code.text, code.place)) sink_.left_out(with(code.name, list), code.place);
      } else {
        built.property(code.attribute("listID"), code.text, code.place);
      }
    }
  }

  void additional_property(const XmlElement& element, ItemBuilder& built) {
    const XmlElement* const quantity = element.child("ValueQuantity");
    const std::string value =
        quantity ? with(quantity->text, quantity->attribute("unitCode")) : texts_.text(element, "Value");
    built.property(texts_.text(element, "Name"), value, element.place);
  }

  static void hazard(const XmlElement& element, ItemBuilder& built) {
    built.property("UNDGCode", element.text_of("UNDGCode"), element.place);
    built.property("HazardClassID", element.text_of("HazardClassID"), element.place);
  }

  static void dimension(const XmlElement& element, ItemBuilder& built) {
    const XmlElement* const measure = element.child("Measure");
    if (measure)
      built.property(with("Dimension", element.text_of("AttributeID")),
                     with(measure->text, measure->attribute("unitCode")), element.place);
  }

  // A picture is known by what its name ends in, and is taken by its address; one that the file brings along is not.
  void document(const XmlElement& element, ItemBuilder& built) {
    const std::string_view address = text_at(element, {"Attachment", "ExternalReference", "URI"});
    const std::string small = text::to_lower(address);
    const auto ends = [&small](std::string_view end) { return small.ends_with(end); };
    constexpr auto kPictures =
        std::to_array<std::string_view>({".jpg", ".jpeg", ".png", ".gif", ".tif", ".tiff", ".webp"});
    const bool is_picture = text::to_upper(element.text_of("DocumentTypeCode")).find("IMAGE") != std::string::npos ||
                            std::ranges::any_of(kPictures, ends);
    if (is_picture && !address.empty() && built.field("IMAGEFILENAME", address, element.place)) return;
    if (!is_picture && is_web_address(address) && built.field("URL", address, element.place)) return;
    sink_.left_out(element.name, element.place);
  }

  const ReadingOptions& options_;
  ItemSink& sink_;
  LanguageTexts texts_;
  FileHeader header_;
};

}  // namespace

// There are other formats with such a root.
bool is_ubl(std::string_view begin) {
  return root_of_xml(begin) == "Catalogue" && begin.find("schema:xsd:Catalogue-2") != begin.npos;
}

void read_ubl(Bytes& bytes, const ReadingOptions& options, ItemSink& sink) {
  UblReader reader(options, sink);
  read_xml(bytes, reader);
  reader.tell_header();
}

}  // namespace mercato::exchange
