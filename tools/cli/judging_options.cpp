// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/judging_options.h"

#include "exchange/document_judging.h"
#include "mercato/raised_error.h"

namespace mercato::cli {
namespace {

exchange::Notation::Dates dates_named(const std::string& name) {
  using Dates = exchange::Notation::Dates;
  if (name == "dmy") return Dates::day_first;
  if (name == "mdy") return Dates::month_first;
  return Dates::iso;
}

}  // namespace

void add_judging_options(Command& command, JudgingChoices& given) {
  command
      .add_choice(
          "--decimal", {".", ","}, [&given](const std::string& sign) { given.decimal = sign; },
          "The decimal sign of all numbers")
      ->type_name("SIGN");
  command
      .add_choice(
          "--dates", {"dmy", "mdy", "ymd"}, [&given](const std::string& order) { given.dates = order; },
          "What stands first in a date: day, month or year")
      ->type_name("ORDER");
  command.add_flag("--cut", given.cut, "Cut texts that are too long, as --accept too-long does");
  command
      .add_choices("--accept", exchange::reason_names(), given.accepted,
                   "A reason that refuses no record: the value is left out, kept or mended")
      ->type_name("REASON");
}

exchange::JudgingOptions judging_options(const JudgingChoices& given, bool never_mind) {
  exchange::JudgingOptions options;
  if (never_mind) options.accepted = exchange::acceptable_reasons();
  for (const std::string& name : given.accepted) options.accepted.insert(*exchange::reason_named(name));
  if (given.cut) options.accepted.insert(exchange::Reason::too_long);
  if (!given.decimal.empty()) options.decimal_sign = given.decimal.front();
  if (!given.dates.empty()) options.dates = dates_named(given.dates);
  return options;
}

void require_certain(const upload::DocumentKind& kind, const Array& fields, const Array& values) {
  using exchange::Reason;
  exchange::DocumentJudge judge(kind, {});
  std::string reasons;
  for (std::int32_t index = fields.lower; index <= fields.upper(); ++index)
    for (const exchange::Finding& finding :
         judge.judge_value(fields.at(index).to_text(), values.at(index).text_or_empty()).findings) {
      const bool misread = finding.reason == Reason::number || finding.reason == Reason::ambiguous_number ||
                           finding.reason == Reason::date || finding.reason == Reason::ambiguous_date ||
                           finding.reason == Reason::negative;
      if (!misread) continue;
      reasons.append(reasons.empty() ? "" : " ").append(finding.field + " \"" + finding.value + "\": ");
      reasons.append(exchange::words_of(finding.reason).what).append(".");
    }
  if (reasons.empty()) return;
  raise(error_number::kInvalidArgument, {}, reasons + " Write numbers as 1234.5 and dates as 2026-07-01.");
}

void add_loading_options(Command& command, std::string& rest, bool& atomic) {
  command
      .add_option("--rest", rest, "Write what was refused or is left into this file, with its reasons, to be corrected")
      ->type_name("FILE");
  command.add_flag("--atomic", atomic, "All of the document or, when a record is refused, nothing");
}

}  // namespace mercato::cli
