// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/datanorm.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "exchange/formats/item_building.h"
#include "exchange/input/decoded.h"
#include "mercato/raised_error.h"
#include "values/decimal.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

// DOS ends a text with this character; the tables of ICU for its code pages make it the other.
constexpr char kEndOfDos = '\x1A';
constexpr char kEndOfDosInIcu = '\x1C';

bool is_number(std::string_view text) { return !text.empty() && text.find_first_not_of("0123456789") == text.npos; }
// The line without its first characters.
std::string_view behind(std::string_view line, std::size_t characters) {
  const std::size_t length = text::length(line);
  return text::right(line, length - std::min(length, characters));
}
bool is_nothing(std::string_view number) { return number.find_first_not_of('0') == number.npos; }

// The fields of a record, without blanks around them. One beyond the last is empty.
class Fields {
 public:
  void split(std::string_view line) {
    all_.clear();
    for (std::size_t end = 0; end != line.npos; line.remove_prefix(end == line.npos ? 0 : end + 1)) {
      end = line.find(';');
      all_.push_back(text::trim(line.substr(0, end)));
    }
  }
  std::string_view operator[](std::size_t index) const {
    return index < all_.size() ? all_[index] : std::string_view();
  }

 private:
  std::vector<std::string_view> all_;
};

// What a price is multiplied by.
struct Discount {
  Decimal factor = Decimal::of_scaled(1, 0);

  // The kinds of the format: 1 takes so many hundredths of a per cent off, 2 multiplies by so many thousandths, 3 puts
  // hundredths of a per cent on. Answers false for a kind or a value that is none of these.
  bool add(std::string_view kind, std::string_view value) {
    std::int64_t number = 0;
    constexpr std::size_t kMostDigits = 9;
    if (!is_number(value) || value.size() > kMostDigits) return false;
    std::from_chars(value.data(), value.data() + value.size(), number);
    constexpr std::int64_t kOne = 10'000;
    if (kind == "1")
      factor = factor * Decimal::of_scaled(kOne - number, 4);
    else if (kind == "2")
      factor = factor * Decimal::of_scaled(number, 3);
    else if (kind == "3")
      factor = factor * Decimal::of_scaled(kOne + number, 4);
    else
      return false;
    return true;
  }
  bool is_none() const { return factor == Decimal::of_scaled(1, 0); }
};

// A price as it was sent: of the list, to which discounts apply, or net.
struct SentPrice {
  ItemPrice price;
  bool is_net = false;
};

// Texts, by a key, as long as there is room for them: the oldest ones go first.
class KeptTexts {
 public:
  static constexpr std::size_t kMost = std::size_t{32} << 20;

  void add(const std::string& key, std::string_view line) {
    if (line.empty()) return;
    const auto [at, is_new] = texts_.try_emplace(key);
    if (is_new) order_.push_back(key);
    at->second.append(at->second.empty() ? "" : " ").append(line);
    size_ += line.size() + (is_new ? kEach : 1);
    while (size_ > kMost && !order_.empty()) {
      forget(order_.front());
      order_.pop_front();
    }
  }
  // Null when there is none, or none any more.
  const std::string* find(const std::string& key) const {
    const auto found = texts_.find(key);
    return found == texts_.end() ? nullptr : &found->second;
  }

 private:
  static constexpr std::size_t kEach = 200;  // what one costs beside its text

  void forget(const std::string& key) {
    const auto found = texts_.find(key);
    size_ -= std::min(size_, found->second.size() + kEach);
    texts_.erase(found);
  }

  std::unordered_map<std::string, std::string> texts_;
  std::deque<std::string> order_;
  std::size_t size_ = 0;
};

class DatanormReader {
 public:
  DatanormReader(Bytes& bytes, const ReadingOptions& options, ItemSink& sink)
      : options_(options), sink_(sink), text_(bytes, options.encoding), lines_(text_) {}

  void read() {
    std::string_view line;
    while (lines_.next(line)) {
      if (line.starts_with(kEndOfDos) || line.starts_with(kEndOfDosInIcu)) break;
      if (text::trim(line).empty()) continue;
      if (version_ == 0 && !line.starts_with('V'))
        raise(error_number::kInvalidArgument, {}, "This is no Datanorm: it begins without the record V");
      record(line);
    }
    if (version_ == 0) raise(error_number::kInvalidArgument, {}, "This is no Datanorm: there is nothing in it");
    end_article();
    while (!waiting_.empty()) tell_oldest_prices();
    sink_.found_out("encoding", text_.encoding());
  }

 private:
  struct Article {
    ItemBuilder built;
    std::string text;                // the number of its long text
    std::string unit;                // how many units its prices are for
    std::vector<SentPrice> prices;   // its own
    std::vector<SentPrice> changes;  // those of records P, which count instead
    Discount discount;
    std::string main_group;
    std::string group;
  };
  struct Waiting {
    std::string number;
    std::vector<SentPrice> prices;
  };

  static constexpr std::size_t kMostWaiting = 100'000;
  static constexpr std::size_t kMostUnits = 500'000;

  Place here() const { return {lines_.number()}; }
  void flawed(std::string_view number, const std::string& reason) { sink_.flawed(number, reason, here()); }
  void left_out(std::string_view name) { sink_.left_out(name, here()); }
  bool is_4() const { return version_ == 4; }

  void record(std::string_view line) {
    if (line.starts_with('V')) return header(line);
    if (line.size() < 2 || line[1] != ';') return flawed({}, "this line is no record: it has no letter and semicolon");
    fields_.split(line);
    switch (line[0]) {
      case 'A':
        return article();
      case 'B':
        return is_4() ? supplement() : change_of_number();
      case 'D':
        return own_text();
      case 'P':
        return is_4() ? price_changes_4() : price_change_5();
      case 'R':
        return discount_group();
      case 'S':
        return group_of_goods();
      case 'T':
        return text_line();
      case 'Z':
        return graduated_price();
      case 'E':
        if (!is_4()) return;  // the number of lines
        [[fallthrough]];
      default:
        left_out(line.substr(0, 1));
    }
  }

  // Version 4 has columns here: V, the day, three texts, the version and the currency.
  void header(std::string_view line) {
    FileHeader told;
    fields_.split(line);
    std::string version;
    if (line.starts_with("V;")) {
      version = fields_[1];
      told.set("CURRENCY", fields_[4]);
      told.show("catalogue", fields_[5]);
    } else {
      constexpr std::size_t kVersionAt = 123;
      constexpr std::size_t kTextAt = 8;
      constexpr std::size_t kTextLength = 40;
      version = text::left(behind(line, kVersionAt), 2);
      told.set("CURRENCY", text::trim(behind(line, kVersionAt + 2)));
      told.show("catalogue", text::trim(text::left(behind(line, kTextAt), kTextLength)));
    }
    const int found = version == "04" ? 4 : version == "050" ? 5 : 0;
    if (found == 0)
      raise(error_number::kInvalidArgument, {},
            "Line " + std::to_string(lines_.number()) + ": Datanorm is read in the versions 4 and 5, this is '" +
                version + "'");
    if (version_ == 0) told.tell(sink_);
    version_ = found;
  }

  // ---- articles

  void article() {
    end_article();
    const std::string_view number = fields_[2];
    const std::string_view mark = fields_[1];
    if (number.empty()) return flawed({}, "the record A names no article");
    if (mark == "L") return tell(number, Item::Action::remove);
    if (mark == "X") return renumbered(number, fields_[4]);
    if (mark != "N" && mark != "A")
      return flawed(number, "its record A is marked " + std::string(mark) + "; known are N, A, L and X");

    Article begun;
    Item& item = begun.built.item;
    item.number = number;
    item.place = here();
    if (mark == "A") item.action = Item::Action::update;
    const std::size_t texts = is_4() ? 4 : 3;
    const std::string_view second = fields_[texts + 1];
    field(begun, "PRODUCTDESCRIPTION", std::string(fields_[texts]).append(second.empty() ? "" : " ").append(second));
    field(begun, "UNITCODE", fields_[is_4() ? 8 : 5]);
    const std::optional<std::string> unit = units(fields_[7]);
    if (!unit) return flawed(number, "its price unit is " + std::string(fields_[7]) + "; known are 0 to 3");
    begun.unit = *unit;
    const std::string_view group = fields_[is_4() ? 10 : 9];
    property(begun, "DISCOUNT_GROUP", group);
    const std::string_view amount = fields_[is_4() ? 9 : 8];
    if (fields_[6] != "2" && !is_nothing(amount)) begun.discount = discount_of(group);
    add_price(begun.prices, fields_[6], amount, begun.discount);
    begun.main_group = fields_[is_4() ? 11 : 10];
    begun.text = fields_[is_4() ? 12 : 23];
    if (!is_4()) {
      begun.group = fields_[11];
      property(begun, "MATCHCODE", fields_[12]);
      property(begun, "ALTERNATIVE_NUMBER", fields_[14]);
      property(begun, "MANUFACTURER", fields_[15]);
      field(begun, "MFRPARTNUMBER", fields_[16]);
      property(begun, "MANUFACTURER_TYPE", fields_[17]);
      gtin(begun, fields_[18]);
      packing(begun, fields_[20]);
      leave_out("A picture", fields_[19]);
      leave_out("A page of the catalogue", fields_[21]);
    }
    article_ = std::move(begun);
  }

  void supplement() {
    const std::string_view number = fields_[2];
    if (number.empty()) return flawed({}, "the record B names no article");
    if (!article_ || article_->built.item.number != number) {
      end_article();  // of an article that stands elsewhere: what is new of it
      article_.emplace();
      article_->built.item.number = number;
      article_->built.item.place = here();
      article_->built.item.action = Item::Action::update;
    }
    Article& article = *article_;
    property(article, "MATCHCODE", fields_[3]);
    property(article, "ALTERNATIVE_NUMBER", fields_[4]);
    leave_out("B page of the catalogue", fields_[5]);
    leave_out("B copper", fields_[8]);
    gtin(article, fields_[9]);
    leave_out("B picture", fields_[10]);
    if (!fields_[11].empty()) article.group = fields_[11];
    packing(article, fields_[13]);
  }

  // The record B of version 5: L deletes, A gives another number.
  void change_of_number() {
    end_article();
    const std::string_view number = fields_[2];
    if (number.empty()) return flawed({}, "the record B names no article");
    if (fields_[1] == "L") return tell(number, Item::Action::remove);
    if (fields_[1] == "A") return renumbered(number, fields_[3]);
    flawed(number, "its record B is marked " + std::string(fields_[1]) + "; known are A and L");
  }

  void tell(std::string_view number, Item::Action action) {
    Item item;
    item.number = number;
    item.action = action;
    item.place = here();
    sink_.item(std::move(item));
  }

  void renumbered(std::string_view number, std::string_view renamed) {
    flawed(number, "its number becomes " + std::string(renamed) +
                       ", and a number cannot be changed: remove the product and import it with the new one");
  }

  void field(Article& article, std::string_view name, std::string_view value) {
    article.built.field(name, value, here());
  }
  void property(Article& article, std::string_view name, std::string_view value) {
    article.built.property(name, value, here());
  }
  void gtin(Article& article, std::string_view number) {
    if (!is_nothing(number)) field(article, "GTIN", number);
  }
  void packing(Article& article, std::string_view quantity) {
    if (!is_nothing(quantity) && quantity != "1") field(article, "LOTSIZE", quantity);
  }
  void leave_out(std::string_view name, std::string_view value) {
    if (!is_nothing(value)) left_out(name);
  }

  // Tells the article at hand, with the texts that have come for it.
  void end_article() {
    if (!article_) return;
    Article article = std::move(*article_);
    article_.reset();
    Item& item = article.built.item;
    std::string remark;
    for (const std::string& key : {"T" + article.text, "D" + item.number}) {
      const std::string* const found = texts_.find(key);
      if (found)
        remark.append(remark.empty() ? "" : " ").append(*found);
      else if (key.size() > 1 && key.starts_with('T'))
        left_out("T that is neither in front of its article nor right behind it");
    }
    article.built.field("PRODUCTREMARK", remark, item.place);
    categories(article);
    if (const auto waiting = waiting_at_.find(item.number); waiting != waiting_at_.end()) {
      std::vector<SentPrice>& sent = waiting->second->prices;
      article.changes.insert(article.changes.end(), sent.begin(), sent.end());
      sent.clear();  // it is passed over when its turn comes
      waiting_at_.erase(waiting);
    }
    if (!article.unit.empty()) {
      if (units_.size() < kMostUnits)
        units_[item.number] = article.unit;
      else
        units_are_lost_ = true;
    }
    if (!article.changes.empty() && !article.prices.empty()) left_out("price of A, where P has one");
    prices(article.changes.empty() ? article.prices : article.changes, article.unit, item);
    sink_.item(std::move(item));
  }

  void categories(Article& article) {
    const std::string id = article.group.empty() ? article.main_group : article.main_group + "/" + article.group;
    if (id.empty()) return;
    if (groups_.contains(id)) return article.built.item.categories.push_back(id);
    article.built.property("MAIN_GROUP", article.main_group, article.built.item.place);
    article.built.property("GROUP", article.group, article.built.item.place);
  }

  // ---- prices

  // How many units a price is for: a code in version 4, the number itself in version 5. One is told as nothing.
  std::optional<std::string> units(std::string_view text) const {
    if (is_nothing(text)) return std::string();
    if (!is_4()) return text == "1" ? std::string() : std::string(text);
    if (text == "1") return "10";
    if (text == "2") return "100";
    if (text == "3") return "1000";
    return std::nullopt;
  }

  // Hundredths without a decimal sign; some write the sign all the same.
  static std::string amount_of(std::string_view text) {
    if (is_number(text)) return moved_decimal(text, -2);
    std::string amount(text);
    std::ranges::replace(amount, ',', '.');
    return amount;
  }

  void add_price(std::vector<SentPrice>& prices, std::string_view mark, std::string_view amount,
                 const Discount& discount) {
    if (is_nothing(amount)) return;
    SentPrice sent;
    sent.is_net = mark == "2";
    sent.price.amount = amount_of(amount);
    sent.price.place = here();
    if (!sent.is_net && !wants_list() && !discount.is_none())
      sent.price.factor = plain_decimal_text(discount.factor.to_double());
    prices.push_back(std::move(sent));
  }

  bool wants_list() const { return options_.price_kind == "list"; }

  // Of several for the same quantity the net one counts, or that of the list when it was asked for.
  void prices(std::vector<SentPrice>& sent, const std::string& unit, Item& item) {
    std::ranges::stable_sort(sent, {}, [this](const SentPrice& one) { return one.is_net == wants_list(); });
    for (SentPrice& one : sent) {
      const bool is_told = std::ranges::any_of(item.prices, [&one](const ItemPrice& told) {
        return told.from_quantity == one.price.from_quantity && told.from_day == one.price.from_day;
      });
      if (is_told || (wants_list() && one.is_net)) {
        sink_.left_out(one.is_net ? "net price" : "price of the list", one.price.place);
        continue;
      }
      if (one.price.amount_for.empty()) one.price.amount_for = unit;
      item.prices.push_back(std::move(one.price));
    }
  }

  Discount discount_of(std::string_view group) {
    const auto found = discounts_.find(std::string(group));
    if (found != discounts_.end()) return found->second;
    if (!group.empty() && !wants_list()) left_out(std::string("discount of group ").append(group));
    return {};
  }

  void discount_group() {
    const std::size_t first = is_4() ? 2 : 1;
    const std::string_view group = fields_[first];
    Discount discount;
    if (group.empty() || !discount.add(fields_[first + 1], fields_[first + 2]))
      return flawed({}, "the discount group '" + std::string(group) + "' has the kind '" +
                            std::string(fields_[first + 1]) + "' and the value '" + std::string(fields_[first + 2]) +
                            "'; known are the kinds 1, 2 and 3, with whole numbers");
    discounts_[std::string(group)] = discount;
  }

  // Up to three prices, each of nine fields: number, mark, amount, and three discounts of kind and value. A first one
  // of kind 0 names a group of discounts.
  void price_changes_4() {
    if (fields_[1] != "A" && fields_[1] != "N") return left_out(std::string("P ").append(fields_[1]));
    for (std::size_t at = 2; at < 29; at += 9) {
      if (fields_[at].empty()) continue;
      const bool by_group = fields_[at + 3] == "0";
      Discount discount = by_group ? discount_of(fields_[at + 4]) : Discount();
      if (!add_discounts(discount, fields_[at], at + (by_group ? 5 : 3), by_group ? 2 : 3)) continue;
      price_change(std::string(fields_[at]), fields_[at + 1], fields_[at + 2], discount, {}, {});
    }
  }

  void price_change_5() {
    const std::string_view number = fields_[1];
    if (number.empty()) return flawed({}, "the record P names no article");
    Discount discount = discount_of(fields_[5]);
    if (!add_discounts(discount, number, 6, 3)) return;
    const std::string_view day = fields_[12];
    price_change(
        std::string(number), fields_[2], fields_[4], discount, units(fields_[3]).value_or(""),
        day.size() == 8
            ? std::string(day.substr(0, 4)).append("-").append(day.substr(4, 2)).append("-").append(day.substr(6))
            : std::string(day));
  }

  bool add_discounts(Discount& discount, std::string_view number, std::size_t at, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, at += 2) {
      if (is_nothing(fields_[at]) || is_nothing(fields_[at + 1]) || discount.add(fields_[at], fields_[at + 1]))
        continue;
      flawed(number, "its price has a discount of the kind '" + std::string(fields_[at]) + "' and the value '" +
                         std::string(fields_[at + 1]) + "'; known are the kinds 1, 2 and 3, with whole numbers");
      return false;
    }
    return true;
  }

  // For the article at hand, for one to come, or for one that was told: which it is shows later.
  void price_change(std::string number, std::string_view mark, std::string_view amount, const Discount& discount,
                    std::string unit, std::string day) {
    std::vector<SentPrice> sent;
    add_price(sent, mark, amount, discount);
    if (sent.empty()) return left_out("P without a price");
    sent.front().price.amount_for = std::move(unit);
    sent.front().price.from_day = std::move(day);
    if (article_ && article_->built.item.number == number) {
      article_->changes.push_back(std::move(sent.front()));
      return;
    }
    const auto known = waiting_at_.find(number);
    if (known != waiting_at_.end()) {
      known->second->prices.push_back(std::move(sent.front()));
      return;
    }
    if (waiting_.size() >= kMostWaiting) tell_oldest_prices();
    waiting_.push_back({number, std::move(sent)});
    waiting_at_[std::move(number)] = &waiting_.back();  // a deque moves none of its own
  }

  void tell_oldest_prices() {
    Waiting oldest = std::move(waiting_.front());
    waiting_.pop_front();
    if (oldest.prices.empty()) return;
    waiting_at_.erase(oldest.number);
    Item item;
    item.number = oldest.number;
    item.action = Item::Action::update;
    item.place = oldest.prices.front().price.place;
    const auto unit = units_.find(item.number);
    if (unit == units_.end() && units_are_lost_)
      return sink_.flawed(item.number, "its price stands too far behind its article to tell for how many units it is",
                          item.place);
    prices(oldest.prices, unit == units_.end() ? std::string() : unit->second, item);
    if (!item.prices.empty()) sink_.item(std::move(item));
  }

  // A price from a quantity on; all other kinds of surcharges are left out.
  void graduated_price() {
    const bool is_for_the_article = article_ && article_->built.item.number == fields_[2];
    const bool is_price = fields_[4] == "1" && (is_4() || fields_[7] == "1") && fields_[is_4() ? 5 : 13] == "1";
    const std::string_view from = fields_[is_4() ? 9 : 14];
    if (!is_for_the_article || !is_price || from.empty()) return left_out("Z");
    std::vector<SentPrice> sent;
    add_price(sent, fields_[is_4() ? 7 : 9], fields_[is_4() ? 8 : 11], article_->discount);
    if (sent.empty()) return left_out("Z");
    sent.front().price.from_quantity = from;
    if (!is_4()) sent.front().price.amount_for = units(fields_[10]).value_or("");
    article_->prices.push_back(std::move(sent.front()));
  }

  // ---- groups and texts

  void group_of_goods() {
    const std::string_view main = fields_[is_4() ? 2 : 1];
    const std::string_view group = fields_[is_4() ? 4 : 2];
    if (main.empty()) return flawed({}, "the record S names no main group");
    const auto tell_group = [this](const std::string& id, const std::string& parent, std::string_view name) {
      if (groups_.insert(id).second) sink_.category({id, parent, std::string(name), here()});
    };
    if (is_4() ? !fields_[3].empty() : group.empty()) tell_group(std::string(main), {}, fields_[3]);
    if (!group.empty())
      tell_group(std::string(main).append("/").append(group), std::string(main), fields_[is_4() ? 5 : 3]);
  }

  // A line of a text that articles refer to: one in a record of version 5, two in one of version 4.
  void text_line() {
    if (fields_[1] == "L") return left_out("T L");
    const std::string key = "T" + std::string(fields_[2]);
    if (!is_4()) return texts_.add(key, fields_[5]);
    texts_.add(key, fields_[6]);
    texts_.add(key, fields_[9]);
  }

  // A line of an article's own text: free text (F), or a text of records T.
  void own_text() {
    const std::string number(fields_[2]);
    const auto add = [&](std::string_view kind, std::string_view text, std::string_view block) {
      if (kind == "F" || (kind.empty() && !text.empty())) return texts_.add("D" + number, text);
      if (kind != "T") return kind.empty() ? void() : left_out(std::string("D ").append(kind));
      if (const std::string* const found = texts_.find("T" + std::string(block)))
        texts_.add("D" + number, std::string(*found));
      else
        left_out("D of a text that is not in front of it");
    };
    if (!is_4()) return add(fields_[4], fields_[5], fields_[6]);
    add(fields_[4], fields_[6], fields_[5]);
    add(fields_[8], fields_[10], fields_[9]);
  }

  const ReadingOptions& options_;
  ItemSink& sink_;
  Decoded text_;
  Lines lines_;
  Fields fields_;
  int version_ = 0;

  std::optional<Article> article_;  // the one whose records may still come
  KeptTexts texts_;
  std::set<std::string> groups_;
  std::unordered_map<std::string, Discount> discounts_;
  std::deque<Waiting> waiting_;  // prices whose articles may still come
  std::unordered_map<std::string, Waiting*> waiting_at_;
  std::unordered_map<std::string, std::string> units_;  // of the articles that were told, if it is not one
  bool units_are_lost_ = false;
};

}  // namespace

bool is_datanorm(std::string_view begin) {
  if (begin.starts_with("V;0")) return true;
  constexpr std::size_t kColumns = 120;  // that a first line of version 4 has at least
  const std::string_view line = begin.substr(0, begin.find_first_of("\r\n"));
  return line.size() >= kColumns && line[0] == 'V' && is_number(line.substr(2, 6)) &&
         line.substr(8).find("04") != line.npos;
}

void read_datanorm(Bytes& bytes, const ReadingOptions& options, ItemSink& sink) {
  DatanormReader(bytes, options, sink).read();
}

}  // namespace mercato::exchange
