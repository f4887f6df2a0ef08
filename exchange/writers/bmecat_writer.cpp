// SPDX-License-Identifier: Apache-2.0
// What becomes of each field is the way back of formats/bmecat.cpp. What that would not read as it was is left out.
#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <tuple>

#include "exchange/formats/item_building.h"
#include "exchange/formats/mapping.h"
#include "exchange/read_values.h"
#include "exchange/writers/product_writers.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

constexpr std::string_view kNoUpperEnd = "999999999";
constexpr std::string_view kRootGroup = "root";

// A whole number of units; nothing for any other text.
std::optional<std::int64_t> whole(const std::string& quantity) {
  constexpr std::size_t kMostDigits = 15;
  if (quantity.empty() || quantity.size() > kMostDigits ||
      quantity.find_first_not_of("0123456789") != std::string::npos)
    return std::nullopt;
  return std::stoll(quantity);
}

// The code of a country, as territories have.
bool is_territory(std::string_view group) {
  return group.size() == 2 && std::ranges::all_of(group, [](char byte) { return byte >= 'A' && byte <= 'Z'; });
}

class BmecatDocument final : public ProductWriter {
 public:
  BmecatDocument(Output& output, const std::vector<StoredCategory>& categories) : output_(output) {
    if (!links_) fail();
    text_ =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<BMECAT version=\"1.2\" xmlns=\"http://www.bmecat.org/bmecat/1.2/bmecat_new_catalog\">\n"
        "<HEADER>\n"
        "<CATALOG><LANGUAGE>eng</LANGUAGE><CATALOG_ID>catalogue</CATALOG_ID><CATALOG_VERSION>1.0</CATALOG_VERSION>"
        "</CATALOG>\n"
        "<BUYER><BUYER_NAME>buyer</BUYER_NAME></BUYER>\n"
        "<SUPPLIER><SUPPLIER_NAME>various</SUPPLIER_NAME></SUPPLIER>\n"
        "</HEADER>\n"
        "<T_NEW_CATALOG>\n";
    if (!categories.empty()) write_groups(categories);
    output_.write(text_);
  }

  std::size_t product(const StoredProduct& product) override {
    if (product.number.empty()) {
      leave_out("product without a supplier's number");
      return 0;
    }
    text_ = "<ARTICLE mode=\"new\">\n";
    element("SUPPLIER_AID", product.number);
    details(product);
    features(product);
    order_details(product);
    prices(product);
    pictures(product);
    text_ += "</ARTICLE>\n";
    output_.write(text_);
    for (const auto& [name, value] : product.fields)
      if (std::ranges::find(kHeld, name) == kHeld.end() && !(is_flag(name) && value == "0"))
        leave_out(std::string(name));
    for (const StoredCategory& category : product.categories) {
      text_ = "<ARTICLE_TO_CATALOGGROUP_MAP>";
      element("ART_ID", product.number);
      element("CATALOG_GROUP_ID", std::to_string(category.id));
      text_ += "</ARTICLE_TO_CATALOGGROUP_MAP>\n";
      if (std::fwrite(text_.data(), 1, text_.size(), links_.get()) != text_.size()) fail();
    }
    return 1;
  }

  void finish() override {
    if (std::fflush(links_.get()) != 0) fail();
    std::rewind(links_.get());
    std::array<char, 65536> piece{};
    while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), links_.get()))
      output_.write({piece.data(), count});
    output_.write("</T_NEW_CATALOG>\n</BMECAT>\n");
    output_.finish();
  }

 private:
  static constexpr auto kHeld = std::to_array<std::string_view>(
      {"PRODUCTDESCRIPTION", "PRODUCTREMARK", "PARTNUMBER", "GTIN", "MFRPARTNUMBER", "DELIVERYLEADTIME", "UNSPSCCODE",
       "UNITCODE", "MINORDERQTY", "MULTIPLEOF", "IMAGEFILENAME", "TECHNICALIMAGE", "URL"});
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  [[noreturn]] static void fail() { raise(error_number::kPathFileAccess, {}, "A temporary file cannot be written."); }
  static bool is_flag(std::string_view name) {
    return name == "MULTIPLEBUYER" || name == "SERVICEITEM" || name == "DISABLED";
  }

  void element(std::string_view name, std::string_view value) {
    if (value.empty()) return;
    text_.append("<").append(name).append(">");
    append_text(text_, value);
    text_.append("</").append(name).append(">\n");
  }

  void write_groups(const std::vector<StoredCategory>& categories) {
    text_ += "<CATALOG_GROUP_SYSTEM>\n<CATALOG_STRUCTURE type=\"root\"><GROUP_ID>";
    text_.append(kRootGroup).append("</GROUP_ID><GROUP_NAME>Categories</GROUP_NAME><PARENT_ID>0</PARENT_ID>");
    text_ += "</CATALOG_STRUCTURE>\n";
    for (const StoredCategory& category : categories) {
      text_ += "<CATALOG_STRUCTURE type=\"leaf\">";
      element("GROUP_ID", std::to_string(category.id));
      element("GROUP_NAME", category.name);
      element("PARENT_ID", kRootGroup);
      text_ += "</CATALOG_STRUCTURE>\n";
    }
    text_ += "</CATALOG_GROUP_SYSTEM>\n";
  }

  void details(const StoredProduct& product) {
    text_ += "<ARTICLE_DETAILS>\n";
    element("DESCRIPTION_SHORT", product.field("PRODUCTDESCRIPTION"));
    element("DESCRIPTION_LONG", product.field("PRODUCTREMARK"));
    element("EAN", product.field("GTIN"));
    if (const std::string_view number = product.field("PARTNUMBER"); !number.empty()) {
      text_ += "<BUYER_AID type=\"buyer\">";
      append_text(text_, number);
      text_ += "</BUYER_AID>\n";
    }
    element("MANUFACTURER_AID", product.field("MFRPARTNUMBER"));
    element("DELIVERY_TIME", product.field("DELIVERYLEADTIME"));
    text_ += "</ARTICLE_DETAILS>\n";
  }

  void features(const StoredProduct& product) {
    if (const std::string_view code = product.field("UNSPSCCODE"); !code.empty()) {
      text_ += "<ARTICLE_FEATURES>\n<REFERENCE_FEATURE_SYSTEM_NAME>UNSPSC</REFERENCE_FEATURE_SYSTEM_NAME>\n";
      element("REFERENCE_FEATURE_GROUP_ID", code);
      text_ += "</ARTICLE_FEATURES>\n";
    }
    std::string_view before;
    bool is_open = false;
    for (const StoredProperty& property : product.properties) {
      const bool is_held = property.value && !trimmed(*property.value).empty() &&
                           property_name_of(property.name) == text::to_upper(property.name);
      // Two of one name would come back as one value.
      if (!is_held || text::equal_names(before, property.name)) {
        if (property.value && !property.value->empty()) leave_out("property " + property.name);
        continue;
      }
      before = property.name;
      if (!is_open) text_ += "<ARTICLE_FEATURES>\n";
      is_open = true;
      text_ += "<FEATURE>";
      element("FNAME", property.name);
      element("FVALUE", *property.value);
      text_ += "</FEATURE>\n";
    }
    if (is_open) text_ += "</ARTICLE_FEATURES>\n";
  }

  void order_details(const StoredProduct& product) {
    text_ += "<ARTICLE_ORDER_DETAILS>\n";
    element("ORDER_UNIT", product.field("UNITCODE"));
    element("QUANTITY_MIN", product.field("MINORDERQTY"));
    element("QUANTITY_INTERVAL", product.field("MULTIPLEOF"));
    text_ += "</ARTICLE_ORDER_DETAILS>\n";
  }

  // Lines of one group and time are tiers: each begins behind the one before, and the last one has no end.
  void prices(const StoredProduct& product) {
    const auto same_tiers = [](const StoredPrice& left, const StoredPrice& right) {
      return left.group == right.group && left.from_day == right.from_day && left.to_day == right.to_day;
    };
    std::vector<StoredPrice> lines = product.prices;
    std::ranges::stable_sort(lines, [](const StoredPrice& left, const StoredPrice& right) {
      return std::tuple(std::string_view(left.group), std::string_view(left.from_day), std::string_view(left.to_day),
                        whole(left.quantity_to).value_or(-1)) <
             std::tuple(std::string_view(right.group), std::string_view(right.from_day), std::string_view(right.to_day),
                        whole(right.quantity_to).value_or(-1));
    });
    for (auto first = lines.begin(); first != lines.end();) {
      const auto end =
          std::find_if(first, lines.end(), [&](const StoredPrice& one) { return !same_tiers(*first, one); });
      if (are_held(first, end))
        tiers(first, end);
      else
        for (auto line = first; line != end; ++line) leave_out("price line");
      first = end;
    }
  }

  using Line = std::vector<StoredPrice>::const_iterator;

  static bool are_held(Line first, Line end) {
    const auto is_nothing = [](const std::string& number) { return number.empty() || number == "0"; };
    return (end - 1)->quantity_to == kNoUpperEnd && (first->group.empty() || is_territory(first->group)) &&
           std::all_of(first, end, [&](const StoredPrice& line) {
             return whole(line.quantity_to) && !is_nothing(line.amount) && line.currency == first->currency &&
                    is_nothing(line.discount_percentage) && is_nothing(line.discount_amount) &&
                    is_nothing(line.freight_cost);
           });
  }

  void tiers(Line first, Line end) {
    text_ += "<ARTICLE_PRICE_DETAILS>\n";
    day("valid_start_date", first->from_day);
    day("valid_end_date", first->to_day);
    std::int64_t from = 1;
    for (Line line = first; line != end; ++line) {
      text_ += "<ARTICLE_PRICE price_type=\"net_customer\">\n";
      element("PRICE_AMOUNT", line->amount);
      element("PRICE_CURRENCY", line->currency);
      if (!line->tax_percentage.empty()) element("TAX", share_of(line->tax_percentage));
      element("LOWER_BOUND", std::to_string(from));
      element("TERRITORY", line->group);
      text_ += "</ARTICLE_PRICE>\n";
      from = *whole(line->quantity_to) + 1;
    }
    text_ += "</ARTICLE_PRICE_DETAILS>\n";
  }

  // As a share; one of 100 percent or more would be read as another percentage.
  static std::string share_of(const std::string& percentage) {
    constexpr std::size_t kDigitsOfShare = 2;
    return percentage.find('.') > kDigitsOfShare && percentage.size() > kDigitsOfShare ? percentage
                                                                                       : moved_decimal(percentage, -2);
  }

  void day(const char* type, const std::string& day) {
    if (day.empty()) return;
    text_.append("<DATETIME type=\"").append(type).append("\">");
    element("DATE", std::string_view(day).substr(0, day.find('T')));
    text_ += "</DATETIME>\n";
  }

  void pictures(const StoredProduct& product) {
    const std::size_t begin = text_.size();
    picture("image/jpeg", product.field("IMAGEFILENAME"), "normal", "");
    picture("image/jpeg", product.field("TECHNICALIMAGE"), "others", "drawing");
    if (const std::string_view address = product.field("URL"); is_web_address(address))
      picture("url", address, "others", "");
    else if (!address.empty())
      leave_out("URL that is no web address");
    if (text_.size() == begin) return;
    text_.insert(begin, "<MIME_INFO>\n");
    text_ += "</MIME_INFO>\n";
  }
  void picture(const char* type, std::string_view source, const char* purpose, const char* description) {
    if (source.empty()) return;
    text_ += "<MIME>";
    element("MIME_TYPE", type);
    element("MIME_SOURCE", source);
    element("MIME_DESCR", description);
    element("MIME_PURPOSE", purpose);
    text_ += "</MIME>\n";
  }

  Output& output_;
  std::string text_;
  // The links with categories stand behind all products, so they are kept in a file until then.
  const std::unique_ptr<std::FILE, Close> links_{std::tmpfile()};
};

}  // namespace

std::unique_ptr<ProductWriter> bmecat_document(Output& output, const std::vector<StoredCategory>& categories) {
  return std::make_unique<BmecatDocument>(output, categories);
}

}  // namespace mercato::exchange
