// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/bmecat.h"

#include <algorithm>
#include <array>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "exchange/formats/item_building.h"
#include "exchange/formats/language_texts.h"
#include "exchange/input/xml_pieces.h"
#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

// Version 2005 calls a product PRODUCT and its number PID, the others ARTICLE and AID. Here all of it is as in 2005.
std::string name_of_2005(std::string_view name) {
  std::string renamed(name);
  if (renamed == "ART_ID") return "PROD_ID";
  if (renamed.starts_with("ARTICLE")) renamed.replace(0, 7, "PRODUCT");
  if (renamed.ends_with("_AID")) renamed.replace(renamed.size() - 3, 3, "PID");
  return renamed;
}

enum class Becomes : std::uint8_t { field, property };

struct Rule {
  std::string_view element;
  Becomes becomes;
  std::string_view name;
};

// What each element becomes that has no rule of its own in the code below. An element in none of these tables is left
// out and counted.
constexpr auto kDetails = std::to_array<Rule>({
    {"EAN", Becomes::field, "GTIN"},
    {"MANUFACTURER_PID", Becomes::field, "MFRPARTNUMBER"},
    {"MANUFACTURER_NAME", Becomes::property, "MANUFACTURER"},
    {"MANUFACTURER_IDREF", Becomes::property, "MANUFACTURER"},
    {"MANUFACTURER_TYPE_DESCR", Becomes::property, "MANUFACTURER_TYPE_DESCR"},
    {"SUPPLIER_ALT_PID", Becomes::property, "SUPPLIER_ALT_PID"},
    {"ERP_GROUP_BUYER", Becomes::property, "ERP_GROUP_BUYER"},
    {"ERP_GROUP_SUPPLIER", Becomes::property, "ERP_GROUP_SUPPLIER"},
    {"DELIVERY_TIME", Becomes::field, "DELIVERYLEADTIME"},
});
constexpr auto kOrderDetails = std::to_array<Rule>({
    {"ORDER_UNIT", Becomes::field, "UNITCODE"},
    {"CONTENT_UNIT", Becomes::property, "CONTENT_UNIT"},
    {"NO_CU_PER_OU", Becomes::property, "NO_CU_PER_OU"},
    {"QUANTITY_MIN", Becomes::field, "MINORDERQTY"},
    {"QUANTITY_INTERVAL", Becomes::field, "MULTIPLEOF"},
});
constexpr auto kLogisticDetails = std::to_array<Rule>({
    {"COUNTRY_OF_ORIGIN", Becomes::property, "COUNTRY_OF_ORIGIN"},
    {"CUSTOMS_NUMBER", Becomes::property, "CUSTOMS_NUMBER"},
    {"VOLUME", Becomes::property, "VOLUME"},
    {"WEIGHT", Becomes::property, "WEIGHT"},
    {"LENGTH", Becomes::property, "LENGTH"},
    {"WIDTH", Becomes::property, "WIDTH"},
    {"DEPTH", Becomes::property, "DEPTH"},
});

// The kinds of prices that are taken when nothing else was asked for, the first that a product has. When it has none of
// them it is the kind of its first price.
constexpr auto kUsualPrices = std::to_array<std::string_view>({"net_customer", "net_list", "gros_list"});

struct Period {
  std::string_view from;
  std::string_view to;
};

// The days beside one another in three forms: elements of their own (2005), or a DATETIME that says by its type which
// one it is.
Period period_of(const XmlElement& element, std::string_view kind) {
  const std::string small(kind);
  const std::string capitals = text::to_upper(kind);
  Period period{day_of(element.text_of(capitals + "_START_DATE")), day_of(element.text_of(capitals + "_END_DATE"))};
  for (const XmlElement& child : element.children) {
    if (child.name != "DATETIME") continue;
    if (child.attribute("type") == small + "_start_date" && period.from.empty()) period.from = child.text_of("DATE");
    if (child.attribute("type") == small + "_end_date" && period.to.empty()) period.to = child.text_of("DATE");
  }
  return period;
}

// A tax is written as a share, 0.19; some write the percentage.
std::string percentage_of(std::string_view tax) {
  const bool is_share = tax.find_first_not_of('0') == tax.find_first_of(".,");
  return is_share ? moved_decimal(tax, 2) : std::string(tax);
}

class BmecatReader final : public XmlReader {
 public:
  BmecatReader(const ReadingOptions& options, ItemSink& sink)
      : options_(options), sink_(sink), texts_(options.language, "lang", sink) {}

  bool is_frame(std::string_view name) const override {
    constexpr auto kFrames =
        std::to_array<std::string_view>({"T_NEW_CATALOG", "T_UPDATE_PRODUCTS", "T_UPDATE_PRICES",
                                         "CATALOG_GROUP_SYSTEM", "CLASSIFICATION_SYSTEM", "CLASSIFICATION_GROUPS"});
    return std::ranges::find(kFrames, name) != kFrames.end();
  }

  void frame(const XmlElement& begin) override {
    if (!is_begun_ && begin.name != "BMECAT")
      raise(error_number::kInvalidArgument, {}, "This is no BMEcat: its root is " + std::string(begin.name));
    is_begun_ = true;
    if (begin.name.starts_with("T_")) transaction_ = begin.name;
    if (begin.name == "CLASSIFICATION_SYSTEM") system_.clear();
  }

  void piece(const XmlElement& piece, std::string_view frame) override {
    const std::string name = name_of_2005(piece.name);
    if (name == "HEADER") return header(piece);
    if (name == "PRODUCT") return product(piece);
    if (name == "CATALOG_STRUCTURE") return group(piece);
    if (name == "CLASSIFICATION_GROUP") return classification_group(piece);
    if (name == "CLASSIFICATION_SYSTEM_NAME") {
      system_ = piece.text;
      if (system_.starts_with(kOwnSystem)) own_systems_.insert(system_);
    } else if (name == "PRODUCT_TO_CATALOGGROUP_MAP") {
      link(piece);
    } else if (frame == "BMECAT" || frame.starts_with("T_")) {
      sink_.left_out(piece.name, piece.place);  // what names and describes a system of groups is no news
    }
  }

  void flawed_piece(const XmlElement& piece, std::string_view reason) override {
    sink_.flawed(number_of(piece), std::string(piece.name).append(" ").append(reason), piece.place);
  }

 private:
  // A classification that is the supplier's own is called so; all others are somebody's standard.
  static constexpr std::string_view kOwnSystem = "udf_";

  static std::string_view number_of(const XmlElement& product) {
    for (const XmlElement& child : product.children)
      if (name_of_2005(child.name) == "SUPPLIER_PID") return child.text;
    return {};
  }

  void header(const XmlElement& header) {
    FileHeader told;
    static const XmlElement kNone;
    const auto below = [&header](std::string_view name) -> const XmlElement& {
      const XmlElement* const found = header.child(name);
      return found ? *found : kNone;
    };
    const XmlElement& catalog = below("CATALOG");
    texts_.set_own(own_language(catalog));
    told.set("LANGUAGE", own_language(catalog));
    told.set("CURRENCY", catalog.text_of("CURRENCY"));
    for (const Period& period : {period_of(catalog, "valid"), period_of(below("AGREEMENT"), "agreement")}) {
      told.set("FROM", period.from);
      told.set("TO", period.to);
    }
    told.set("SUPPLIER", below("SUPPLIER").text_of("SUPPLIER_ID"));
    told.set("SUPPLIER", header.text_of("SUPPLIER_IDREF"));
    told.set("SUPPLIER", below("SUPPLIER").text_of("SUPPLIER_NAME"));
    told.show("catalogue", catalog.text_of("CATALOG_ID"));
    told.show("version", catalog.text_of("CATALOG_VERSION"));
    for (const XmlElement& child : catalog.children)
      if (child.name == "TERRITORY") told.show("territory", child.text);
    told.show("buyer", below("BUYER").text_of("BUYER_ID"));
    told.show("buyer", header.text_of("BUYER_IDREF"));
    told.show("folder of pictures", catalog.text_of("MIME_ROOT"));
    told.tell(sink_);
    extensions(header);
  }

  static std::string_view own_language(const XmlElement& catalog) {
    for (const XmlElement& child : catalog.children)
      if (child.name == "LANGUAGE" && text::equal_names(child.attribute("default"), "true")) return child.text;
    return catalog.text_of("LANGUAGE");
  }

  void extensions(const XmlElement& element) {
    if (const XmlElement* const all = element.child("USER_DEFINED_EXTENSIONS"))
      for (const XmlElement& one : all->children) sink_.left_out(one.name, one.place);
  }

  void group(const XmlElement& element) {
    const std::string_view parent = element.text_of("PARENT_ID");
    const bool is_root = element.attribute("type") == "root" || parent == "0";
    sink_.category({std::string(element.text_of("GROUP_ID")), std::string(is_root ? "" : parent),
                    texts_.text(element, "GROUP_NAME"), element.place});
    for (const XmlElement& child : element.children)
      if (child.name == "GROUP_DESCRIPTION" || child.name == "MIME_INFO" || child.name == "KEYWORD")
        sink_.left_out(with(element.name, child.name), child.place);
    extensions(element);
  }

  std::string id_in(std::string_view system, std::string_view id) const {
    return id.empty() ? std::string() : std::string(system).append(":").append(id);
  }

  void classification_group(const XmlElement& element) {
    if (!own_systems_.contains(system_)) return sink_.left_out(with(element.name, system_), element.place);
    sink_.category({id_in(system_, element.text_of("CLASSIFICATION_GROUP_ID")),
                    id_in(system_, element.text_of("CLASSIFICATION_GROUP_PARENT_ID")),
                    texts_.text(element, "CLASSIFICATION_GROUP_NAME"), element.place});
  }

  void link(const XmlElement& element) {
    std::string_view number;
    for (const XmlElement& child : element.children)
      if (name_of_2005(child.name) == "PROD_ID") number = child.text;
    const std::string_view group = element.text_of("CATALOG_GROUP_ID");
    if (element.attribute("mode") == "delete") return sink_.left_out(with(element.name, "delete"), element.place);
    if (number.empty() || group.empty())
      return sink_.flawed(number, std::string(element.name) + " names no product or no group", element.place);
    sink_.link(number, group, element.place);
  }

  void product(const XmlElement& element) {
    ItemBuilder built;
    Item& item = built.item;
    item.number = number_of(element);
    item.place = element.place;
    if (item.number.empty())
      return sink_.flawed({}, std::string(element.name) + " has no number of the supplier", element.place);
    const std::string_view mode = element.attribute("mode");
    if (mode == "delete")
      item.action = Item::Action::remove;
    else if (mode == "update" || (mode.empty() && transaction_ != "T_NEW_CATALOG"))
      item.action = Item::Action::update;
    else if (!mode.empty() && mode != "new")
      return sink_.flawed(item.number, "its mode is " + std::string(mode) + "; known are new, update and delete",
                          element.place);

    std::string_view price_quantity;
    std::vector<const XmlElement*> price_details;
    for (const XmlElement& child : element.children) {
      const std::string name = name_of_2005(child.name);
      if (name == "PRODUCT_DETAILS") {
        details(child, built);
      } else if (name == "PRODUCT_FEATURES") {
        features(child, built);
      } else if (name == "PRODUCT_ORDER_DETAILS") {
        price_quantity = child.text_of("PRICE_QUANTITY");
        by_rules(child, kOrderDetails, built);
      } else if (name == "PRODUCT_PRICE_DETAILS") {
        price_details.push_back(&child);
      } else if (name == "MIME_INFO") {
        mime(child, built);
      } else if (name == "PRODUCT_LOGISTIC_DETAILS") {
        logistics(child, built);
      } else if (name == "USER_DEFINED_EXTENSIONS") {
        extensions(element);
      } else if (name != "SUPPLIER_PID") {
        sink_.left_out(with(child.name, child.attribute("type")), child.place);
      }
    }
    prices(price_details, price_quantity, item);
    sink_.item(std::move(item));
  }

  void by_rules(const XmlElement& element, std::span<const Rule> rules, ItemBuilder& built) {
    for (const XmlElement& child : element.children)
      if (child.name != "PRICE_QUANTITY") by_rule(child, rules, built);
  }

  void by_rule(const XmlElement& element, std::span<const Rule> rules, ItemBuilder& built) {
    const auto rule = std::ranges::find(rules, std::string_view(name_of_2005(element.name)), &Rule::element);
    const bool is_taken = rule != rules.end() &&
                          (rule->becomes == Becomes::property || built.field(rule->name, element.text, element.place));
    if (!is_taken) return sink_.left_out(with(element.name, element.attribute("type")), element.place);
    if (rule->becomes == Becomes::property) built.property(rule->name, element.text, element.place);
  }

  void details(const XmlElement& element, ItemBuilder& built) {
    const auto in_words = [&](std::string_view name, std::string_view column) {
      const XmlElement* const first = element.child(name);
      if (first && !built.field(column, texts_.text(element, name), first->place)) sink_.left_out(name, first->place);
    };
    in_words("DESCRIPTION_SHORT", "PRODUCTDESCRIPTION");
    in_words("DESCRIPTION_LONG", "PRODUCTREMARK");
    in_words("REMARKS", "PRODUCTREMARK");
    const auto buyers_numbers = std::ranges::count_if(
        element.children, [](const XmlElement& child) { return name_of_2005(child.name) == "BUYER_PID"; });
    for (const XmlElement& child : element.children) {
      const std::string name = name_of_2005(child.name);
      if (name == "DESCRIPTION_SHORT" || name == "DESCRIPTION_LONG" || name == "REMARKS") continue;
      if (name == "INTERNATIONAL_PID") {
        const std::string type = text::to_lower(child.attribute("type"));
        const bool is_gtin = type.empty() || type == "gtin" || type == "ean" || type == "upc";
        if (!is_gtin || !built.field("GTIN", child.text, child.place))
          sink_.left_out(with(child.name, type), child.place);
      } else if (name == "BUYER_PID" && buyers_numbers == 1) {
        built.field("PARTNUMBER", child.text, child.place);
      } else if (name == "PRODUCT_STATUS") {
        built.property("STATUS", child.attribute("type"), child.place);
      } else if (name == "SPECIAL_TREATMENT_CLASS") {
        built.property(name, with(child.attribute("type"), child.text), child.place);
      } else {
        by_rule(child, kDetails, built);
      }
    }
  }

  void features(const XmlElement& element, ItemBuilder& built) {
    const std::string_view system = element.text_of("REFERENCE_FEATURE_SYSTEM_NAME");
    const std::string_view id = element.text_of("REFERENCE_FEATURE_GROUP_ID");
    if (text::to_upper(system).starts_with("UNSPSC")) {
      if (!built.field("UNSPSCCODE", id, element.place)) sink_.left_out(with("UNSPSC", id), element.place);
    } else if (own_systems_.contains(std::string(system))) {
      if (!id.empty()) built.item.categories.push_back(id_in(system, id));
    } else if (!system.starts_with(kOwnSystem)) {
      built.property(system, id, element.place);
    } else if (!id.empty()) {
      sink_.left_out(with("REFERENCE_FEATURE_GROUP_ID", system), element.place);  // what it means is told elsewhere
    }
    const std::string_view group = element.text_of("REFERENCE_FEATURE_GROUP_NAME");
    features_below(element, group.empty() ? system : group, built);
  }

  // Groups of features may lie in one another.
  void features_below(const XmlElement& element, std::string_view group, ItemBuilder& built) {
    for (const XmlElement& child : element.children) {
      if (child.name == "FEATURE") feature(child, group, built);
      if (child.name == "FEATURE_GROUP") features_below(child, group, built);
    }
  }

  void feature(const XmlElement& element, std::string_view group, ItemBuilder& built) {
    std::string name = texts_.text(element, "FNAME");
    if (const XmlElement* const model = element.child("FTEMPLATE"); name.empty() && model) {
      name = texts_.text(*model, "FT_NAME");
      if (name.empty()) name = model->text_of("FT_ID");
    }
    if (name.empty()) name = element.text_of("FT_IDREF");
    if (name.empty() || name == "-") name = group;  // a point of a list, which the group is the heading of
    std::string value = texts_.text(element, "FVALUE");
    if (value.empty()) value = texts_.text(element, "FVALUE_DETAILS");
    if (name.empty() || value.empty()) {
      if (element.child("VARIANTS")) sink_.left_out("VARIANTS", element.place);
      return;
    }
    built.property(name, with(value, texts_.text(element, "FUNIT")), element.place);
  }

  void logistics(const XmlElement& element, ItemBuilder& built) {
    for (const XmlElement& child : element.children) {
      const std::string name = name_of_2005(child.name);
      if (name == "CUSTOMS_TARIFF_NUMBER" || name == "PRODUCT_DIMENSIONS")
        by_rules(child, kLogisticDetails, built);
      else
        by_rule(child, kLogisticDetails, built);
    }
  }

  void mime(const XmlElement& element, ItemBuilder& built) {
    struct Source {
      const XmlElement* mime;
      std::string address;
    };
    std::vector<Source> pictures;
    for (const XmlElement& one : element.children) {
      const std::string_view type = one.text_of("MIME_TYPE");
      const std::string_view purpose = one.text_of("MIME_PURPOSE");
      const std::string source = texts_.text(one, "MIME_SOURCE");
      const std::string words = text::to_lower(std::string(purpose)
                                                   .append(" ")
                                                   .append(one.text_of("MIME_DESCR"))
                                                   .append(" ")
                                                   .append(one.text_of("MIME_ALT")));
      const bool is_drawing =
          words.find("drawing") != std::string::npos || words.find("zeichnung") != std::string::npos;
      if (is_drawing && built.field("TECHNICALIMAGE", source, one.place)) continue;
      if (type.starts_with("image/") && purpose != "logo" && !is_drawing) {
        pictures.push_back({&one, source});
        continue;
      }
      const bool is_page = type == "url" || type == "text/html";
      if (is_page && is_web_address(source) && built.field("URL", source, one.place)) continue;
      sink_.left_out(with("MIME", purpose.empty() ? type : purpose), one.place);
    }
    // The one of the usual size stands for the product, wherever it is in the list; a thumbnail only if it is alone.
    const auto rank = [](const Source& picture) {
      const std::string_view purpose = picture.mime->text_of("MIME_PURPOSE");
      return purpose == "normal" ? 0 : purpose == "thumbnail" ? 2 : 1;
    };
    std::ranges::stable_sort(pictures, {}, rank);
    for (const Source& picture : pictures)
      if (!built.field("IMAGEFILENAME", picture.address, picture.mime->place))
        sink_.left_out(with("MIME", picture.mime->text_of("MIME_PURPOSE")), picture.mime->place);
  }

  void prices(const std::vector<const XmlElement*>& details, std::string_view price_quantity, Item& item) {
    const std::string kind = price_kind(details);
    for (const XmlElement* const element : details) {
      const Period period = period_of(*element, "valid");
      for (const XmlElement& child : element->children) {
        const std::string name = name_of_2005(child.name);
        if (name == "DAILY_PRICE") {
          if (text::equal_names(child.text, "true")) sink_.left_out(child.name, child.place);
        } else if (name == "PRODUCT_PRICE") {
          price(child, kind, period, price_quantity, item);
        }
      }
    }
  }

  std::string price_kind(const std::vector<const XmlElement*>& details) const {
    if (!options_.price_kind.empty()) return options_.price_kind;
    std::vector<std::string_view> kinds;
    for (const XmlElement* const element : details)
      for (const XmlElement& child : element->children)
        if (name_of_2005(child.name) == "PRODUCT_PRICE") kinds.push_back(child.attribute("price_type"));
    for (const std::string_view usual : kUsualPrices)
      if (std::ranges::find(kinds, usual) != kinds.end()) return std::string(usual);
    return kinds.empty() ? std::string() : std::string(kinds.front());
  }

  void price(const XmlElement& element, std::string_view kind, const Period& period, std::string_view price_quantity,
             Item& item) {
    const auto leave_out = [&](std::string_view why) { sink_.left_out(with(element.name, why), element.place); };
    if (element.attribute("price_type") != kind) return leave_out(element.attribute("price_type"));
    if (element.child("PRICE_BASE")) return leave_out("with PRICE_BASE");  // per another unit than that of the order
    if (element.child("PRICE_FORMULA")) return leave_out("with PRICE_FORMULA");
    ItemPrice price;
    price.amount = element.text_of("PRICE_AMOUNT");
    if (price.amount.empty()) return leave_out("without PRICE_AMOUNT");
    price.amount_for = price_quantity;
    price.factor = element.text_of("PRICE_FACTOR");
    price.currency = element.text_of("PRICE_CURRENCY");
    price.from_quantity = element.text_of("LOWER_BOUND");
    price.from_day = period.from;
    price.to_day = period.to;
    const XmlElement* const tax = element.child("TAX_DETAILS");
    price.tax_percentage = percentage_of((tax ? *tax : element).text_of("TAX"));
    price.place = element.place;

    bool has_territory = false;
    for (const XmlElement& child : element.children) {
      if (child.name != "TERRITORY") continue;
      has_territory = true;
      if (!options_.territory.empty() && !text::equal_names(child.text, options_.territory)) {
        sink_.left_out(with("TERRITORY", child.text), child.place);
        continue;
      }
      price.group = options_.territory.empty() ? child.text : std::string();
      item.prices.push_back(price);
    }
    if (!has_territory) item.prices.push_back(std::move(price));
  }

  const ReadingOptions& options_;
  ItemSink& sink_;
  LanguageTexts texts_;
  bool is_begun_ = false;
  std::string transaction_;
  std::string system_;  // the classification that is being read
  std::set<std::string> own_systems_;
};

}  // namespace

bool is_bmecat(std::string_view begin) { return root_of_xml(begin) == "BMECAT"; }

void read_bmecat(Bytes& bytes, const ReadingOptions& options, ItemSink& sink) {
  BmecatReader reader(options, sink);
  read_xml(bytes, reader);
}

}  // namespace mercato::exchange
