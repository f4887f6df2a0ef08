// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/product/price_changes.h"

#include <cmath>
#include <iostream>
#include <optional>

#include "keeping/price_keeping.h"
#include "mercato/clock.h"
#include "tools/cli/chosen_products.h"
#include "tools/cli/library.h"
#include "tools/cli/named_product.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/confirmation.h"
#include "tools/cli/terminal/listing.h"
#include "tools/cli/terminal/row_progress.h"
#include "values/text.h"

namespace mercato::cli {
namespace price_changes {

// What the commands have in common.
struct ChosenLines {
  ChosenProducts products;
  std::optional<std::string> group;
  std::string currency;
  bool dry_run = false;
  bool yes = false;
};
struct Deletion {
  ChosenLines lines;
  std::string from;
  std::optional<std::string> to_quantity;
};
struct End {
  ChosenLines lines;
  std::string on;
};
struct Change {
  ChosenLines lines;
  std::string by;
  std::string holding_on;
  std::int32_t decimals = 2;
};

Date date_of(const std::string& text) { return *Date::parse(text); }  // the command line was checked

keeping::PriceLineChoice choice_of(const ChosenLines& lines) {
  keeping::PriceLineChoice choice;
  choice.group = lines.group;
  choice.currency = lines.currency;
  return choice;
}

constexpr const char* kDryRun = " A dry run: nothing was changed.";

int remove(const Deletion& given, const OutputOptions& output) {
  const std::vector<std::int32_t> products = choose(given.lines.products);
  keeping::PriceLineChoice choice = choice_of(given.lines);
  if (!given.from.empty()) choice.from = date_of(given.from);
  if (given.to_quantity) choice.to_quantity = text::parse_number(*given.to_quantity);
  const auto act = [&] { return keeping::delete_price_lines(products, choice); };
  const std::size_t deleted = given.lines.dry_run || !given.lines.yes ? tried(act) : kept(act);
  const gateway::Json json = {{"deleted", deleted}, {"dryRun", given.lines.dry_run}};
  if (deleted == 0) return refuse(output, json, "there is no such price line.", {});
  const std::string lines = counted(deleted, "price line");
  if (given.lines.dry_run) return answer(output, json, lines + " would be deleted." + kDryRun);
  if (!given.lines.yes) {
    expect_consent(lines + " will be deleted");
    const RowProgress progress(deleted);
    kept(act);
  }
  return answer(output, json, lines + " deleted.");
}

int end(const End& given, const OutputOptions& output) {
  const std::vector<std::int32_t> products = choose(given.lines.products);
  const auto act = [&](bool for_real) {
    return keeping::end_prices(products, choice_of(given.lines), date_of(given.on), for_real);
  };
  const keeping::PriceEnd done = act(false);
  const gateway::Json json = {
      {"ended", done.ended}, {"over", done.over}, {"later", done.later}, {"dryRun", given.lines.dry_run}};
  std::string others;
  if (done.over > 0) others += " " + std::to_string(done.over) + " end before it or on it already.";
  if (done.later > 0)
    others += " " + std::to_string(done.later) + " begin later and stay; `mercato price delete` takes them away.";
  if (done.ended == 0) return refuse(output, json, "no price line holds on that day and beyond it." + others, {});
  const std::string lines = counted(done.ended, "price line");
  if (given.lines.dry_run) return answer(output, json, lines + " would end on " + given.on + "." + others + kDryRun);
  if (!given.lines.products.are_named() && !given.lines.yes) expect_consent(lines + " will end on " + given.on);
  {
    const RowProgress progress(done.ended);
    kept([&] { return act(true); });
  }
  return answer(output, json, lines + " with " + given.on + " as the last day." + others);
}

gateway::Json json_of(const keeping::ChangedPrice& changed) {
  const auto date = [](Date day) { return day.iso_text().substr(0, 10); };
  return {{"product", changed.line.product},        {"from", date(changed.line.from)},
          {"toQuantity", changed.line.to_quantity}, {"group", changed.line.group},
          {"currency", changed.line.currency},      {"before", changed.before.text()},
          {"after", changed.after.text()}};
}

int change(const Change& given, const OutputOptions& output) {
  constexpr std::size_t kShown = 20;
  const auto by = keeping::parse_percentage(given.by);
  if (!by)
    raise(error_number::kInvalidArgument, {},
          "--by takes percent above -100 with at most four decimals, such as 3% or -2.5%, not '" + given.by + "'");
  const std::vector<std::int32_t> products = choose(given.lines.products);
  keeping::PriceLineChoice choice = choice_of(given.lines);
  choice.holding_on = given.holding_on.empty() ? Date(std::floor(clock::now().days())) : date_of(given.holding_on);
  gateway::Json first = gateway::Json::array();
  Table table({"PRODUCT", "FROM", "TO QUANTITY", "GROUP", "CURRENCY", "BEFORE", "AFTER"});
  const keeping::PriceChange done =
      keeping::change_prices(products, choice, *by, given.decimals, false, [&](const keeping::ChangedPrice& changed) {
        if (first.size() == kShown) return;
        first.push_back(json_of(changed));
        table.add({std::to_string(changed.line.product), changed.line.from.iso_text().substr(0, 10),
                   text::number_text(changed.line.to_quantity), shown(changed.line.group, 20),
                   shown(changed.line.currency), changed.before.text(), changed.after.text()});
      });
  const gateway::Json json = {{"changed", done.changed},        {"same", done.same},
                              {"withoutPrice", done.priceless}, {"decimals", given.decimals},
                              {"dryRun", given.lines.dry_run},  {"first", std::move(first)}};
  if (done.changed == 0) return refuse(output, json, "no price changes.", {});
  const std::string how = " by " + given.by + ", rounded to " +
                          counted(static_cast<std::size_t>(given.decimals), "decimal") + ", halves away from zero";
  std::string others = ".";
  if (done.same > 0) others += " " + std::to_string(done.same) + " stay: the change is smaller than the rounding.";
  if (done.priceless > 0) others += " " + std::to_string(done.priceless) + " have no price.";
  if (given.lines.dry_run && !output.json) {
    table.print(std::cout);
    if (done.changed > kShown) std::cout << "and " << done.changed - kShown << " more\n";
  }
  const std::string lines = counted(done.changed, "price");
  if (given.lines.dry_run) return answer(output, json, lines + " would change" + how + others + kDryRun);
  if (!given.lines.yes) expect_consent(lines + " will change" + how);
  {
    const RowProgress progress(done.changed);
    kept([&] { return keeping::change_prices(products, choice, *by, given.decimals, true, [](const auto&) {}); });
  }
  return answer(output, json, lines + " changed" + how + others);
}

void add_lines(Command& command, ChosenLines& lines) {
  add_choice(command, lines.products);
  command.add_option("--group", lines.group, "Lines of this group only; an empty text: those without one")
      ->type_name("NAME");
  command.add_option("--currency", lines.currency, "Lines in this currency only")->type_name("CODE");
  command.add_flag("--dry-run", lines.dry_run, "Say what it would be, and change nothing");
  command.add_flag("--yes", lines.yes, "Do not ask");
}

}  // namespace price_changes

void add_price_changes(Menu::Group& group) {
  using namespace price_changes;
  {
    const auto [command, given] =
        group.add("delete", "Delete price lines",
                  (std::string("  mercato price delete M-100007 --from 2025-01-01 --to-quantity 99 --yes\n"
                               "  mercato price delete --supplier QUILLMARCH --currency EUR --dry-run\n") +
                   kChoiceHelp)
                      .c_str(),
                  remove);
    add_lines(command, given.lines);
    command.add_option("--from", given.from, "Lines with this first day only")->type_name("DATE")->check(is_date());
    command.add_option("--to-quantity", given.to_quantity, "Lines up to this quantity only")
        ->type_name("N")
        ->check(is_number());
  }
  {
    const auto [command, given] =
        group.add("end", "Give price lines a last day",
                  (std::string("  mercato price end M-100007 --on 2026-12-31\n"
                               "  mercato price end --supplier QUILLMARCH --on 2026-06-30 --yes\n"
                               "Lines that hold on that day and beyond it; those that begin later stay.\n") +
                   kChoiceHelp)
                      .c_str(),
                  end);
    add_lines(command, given.lines);
    command.add_option("--on", given.on, "The last day on which they hold")
        ->type_name("DATE")
        ->required()
        ->check(is_date());
  }
  {
    const auto [command, given] =
        group.add("change", "Change prices by percent",
                  (std::string("  mercato price change --supplier QUILLMARCH --by 3% --dry-run\n"
                               "  mercato price change --category Paper --by=-2.5% --currency EUR --yes\n"
                               "Lines that hold today or later. The arithmetic is exact; halves are rounded away from "
                               "zero. Discounts,\n"
                               "taxes and freight stay.\n") +
                   kChoiceHelp)
                      .c_str(),
                  change);
    add_lines(command, given.lines);
    command.add_option("--by", given.by, "How much more, such as 3%, or less, such as -2.5%")
        ->type_name("PERCENT")
        ->required();
    command.add_option("--holding-on", given.holding_on, "Lines that hold on this day or later; else today")
        ->type_name("DATE")
        ->check(is_date());
    command.add_option("--decimals", given.decimals, "To how many decimals it is rounded")
        ->type_name("N")
        ->between(0, 4)
        ->capture_default_str();
  }
}

}  // namespace mercato::cli
