// SPDX-License-Identifier: Apache-2.0
#include "platform/spreadsheet/workbook_parts.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <limits>
#include <utility>

#include "platform/spreadsheet/part_parser.h"
#include "platform/spreadsheet/sheet.h"
#include "values/text.h"

namespace mercato::spreadsheet {
namespace {

constexpr std::size_t kMostStyles = 65536;
constexpr std::size_t kMostRelationships = 65536;

int number_of(std::string_view text) {
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

// A handler of elements alone, for parts whose text does not matter.
class Elements : public PartHandler {
 public:
  explicit Elements(std::function<void(const Element&)> visit) : visit_(std::move(visit)) {}
  void open(const Element& element) override {
    path_.emplace_back(element.name);
    visit_(element);
  }
  void close(std::string_view) override { path_.pop_back(); }
  // The name of the element around the one that opens.
  std::string_view parent() const { return path_.size() < 2 ? std::string_view() : path_[path_.size() - 2]; }

 private:
  std::function<void(const Element&)> visit_;
  std::vector<std::string> path_;
};

void visit_elements(const Package& package, const std::string& part, Elements& elements) {
  PartParser(package.open(part), part, elements).read_all();
}

std::string_view last_step(std::string_view path) { return path.substr(path.rfind('/') + 1); }
std::string_view folder_of(std::string_view path) { return path.substr(0, path.rfind('/') + 1); }

// The part that a relationship of a part in this folder leads to. Nothing leads out of the archive.
std::string resolve(std::string_view folder, std::string_view target) {
  const auto refuse = [&] { throw Unreadable("it leads to \"" + std::string(target) + "\", which is no part of it"); };
  if (target.find_first_of("\\:") != std::string_view::npos || target.find('\0') != std::string_view::npos) refuse();
  std::string whole = target.starts_with('/') ? std::string(target.substr(1)) : std::string(folder).append(target);
  std::vector<std::string_view> steps;
  std::string_view rest = whole;
  while (!rest.empty()) {
    const std::string_view step = rest.substr(0, rest.find('/'));
    rest.remove_prefix(std::min(step.size() + 1, rest.size()));
    if (step == "..") {
      if (steps.empty()) refuse();
      steps.pop_back();
    } else if (step != ".") {
      steps.push_back(step);
    }
  }
  std::string name;
  for (const std::string_view step : steps) name.append(name.empty() ? "" : "/").append(step);
  return name;
}

struct Relationship {
  std::string kind;  // the last step of its type
  std::string target;
  bool is_external = false;
};

// The relationships of a part, by id; those of the archive itself for the empty name.
std::map<std::string, Relationship> relationships_of(const Package& package, const std::string& part) {
  const std::string folder(folder_of(part));
  const std::string name = folder + "_rels/" + std::string(last_step(part)) + ".rels";
  std::map<std::string, Relationship> relationships;
  if (!part.empty() && !package.has(name)) return relationships;
  Elements elements([&](const Element& element) {
    if (element.name != "Relationship") return;
    if (relationships.size() >= kMostRelationships) throw Unreadable("it has too many relationships");
    relationships[std::string(element.attribute("Id"))] = {std::string(last_step(element.attribute("Type"))),
                                                           std::string(element.attribute("Target")),
                                                           element.attribute("TargetMode") == "External"};
  });
  visit_elements(package, name, elements);
  return relationships;
}

std::string target_of(const Relationship& relationship, std::string_view folder) {
  if (relationship.is_external) throw Unreadable("it leads to a file outside of it");
  return resolve(folder, relationship.target);
}

// The part of the first relationship of that kind; empty when there is none.
std::string part_of_kind(const std::map<std::string, Relationship>& relationships, std::string_view kind,
                         std::string_view folder) {
  for (const auto& [id, relationship] : relationships)
    if (relationship.kind == kind) return target_of(relationship, folder);
  return {};
}

bool is_true(std::string_view text) { return text == "1" || text == "true" || text == "on"; }

}  // namespace

WorkbookParts find_parts(const Package& package, std::string_view sheet) {
  const std::string workbook = part_of_kind(relationships_of(package, {}), "officeDocument", {});
  if (workbook.empty()) throw Unreadable("it is no workbook");
  const std::string folder(folder_of(workbook));
  const auto relationships = relationships_of(package, workbook);

  WorkbookParts parts;
  std::string sheet_id;
  bool found = false;
  bool by_name = false;
  std::size_t number = 0;
  bool is_workbook = false;
  Elements elements([&](const Element& element) {
    if (element.name == "workbook") is_workbook = true;
    if (element.name == "workbookPr" && is_true(element.attribute("date1904"))) parts.dates = DateSystem::from_1904;
    if (element.name == "sheet" && elements.parent() == "sheets") {
      ++number;
      const bool has_name = text::equal_names(element.attribute("name"), sheet) && !sheet.empty();
      // A name goes before a number, for a sheet may be called "2".
      if (by_name || !(has_name || std::to_string(number) == (sheet.empty() ? "1" : sheet))) return;
      by_name = has_name;
      found = true;
      sheet_id = element.qualified_attribute("id");
    }
  });
  visit_elements(package, workbook, elements);
  if (!is_workbook) throw Unreadable("it is no workbook");
  const auto part = relationships.find(sheet_id);
  if (!found && number > 0) throw Unreadable("it has no sheet \"" + std::string(sheet) + "\"");
  if (!found || part == relationships.end()) throw Unreadable("it has no sheet");
  if (part->second.kind != "worksheet")
    throw Unreadable(sheet.empty() ? "its first sheet has no cells" : "the sheet has no cells");
  parts.sheet = target_of(part->second, folder);
  parts.texts = part_of_kind(relationships, "sharedStrings", folder);
  parts.styles = part_of_kind(relationships, "styles", folder);
  return parts;
}

class SharedTexts::Handler : public PartHandler {
 public:
  Handler(SharedTexts& texts, const Limits& limits) : texts_(texts), limits_(limits) {}

  void open(const Element& element) override {
    if (element.name == "si") text_.clear();
    if (element.name == "rPh") ++phonetic_;
    if (element.name == "t") takes_text_ = phonetic_ == 0;
  }
  void close(std::string_view name) override {
    if (name == "rPh") --phonetic_;
    if (name == "t") takes_text_ = false;
    if (name != "si") return;
    texts_.bytes_ += text_.find("_x") == std::string::npos ? text_ : unescaped(text_);
    if (texts_.bytes_.size() > std::numeric_limits<std::uint32_t>::max()) throw Unreadable("it has too many texts");
    texts_.ends_.push_back(static_cast<std::uint32_t>(texts_.bytes_.size()));
  }
  void text(std::string_view piece) override {
    if (!takes_text_) return;
    if (text_.size() + piece.size() > limits_.max_cell_bytes) throw Unreadable("it has too long a text");
    text_ += piece;
  }

 private:
  SharedTexts& texts_;
  const Limits& limits_;
  std::string text_;
  int phonetic_ = 0;  // depth in readings, which are written above a text and are no part of it
  bool takes_text_ = false;
};

void SharedTexts::read(const Package& package, const std::string& part, const Limits& limits) {
  if (part.empty()) return;
  Handler handler(*this, limits);
  PartParser(package.open(part), part, handler).read_all();
  bytes_.shrink_to_fit();
  ends_.shrink_to_fit();
}

std::vector<std::shared_ptr<const NumberFormat>> read_formats(const Package& package, const std::string& part) {
  std::vector<std::shared_ptr<const NumberFormat>> formats;
  if (part.empty()) return formats;
  std::map<int, std::string> codes;
  std::vector<int> ids;
  Elements elements([&](const Element& element) {
    if (codes.size() > kMostStyles || ids.size() > kMostStyles) throw Unreadable("it has too many styles");
    if (element.name == "numFmt" && elements.parent() == "numFmts")
      codes[number_of(element.attribute("numFmtId"))] =
          element.attribute("formatCode").substr(0, NumberFormat::kLongest + 1);
    if (element.name == "xf" && elements.parent() == "cellXfs") ids.push_back(number_of(element.attribute("numFmtId")));
  });
  visit_elements(package, part, elements);
  std::map<int, std::shared_ptr<const NumberFormat>> made;
  for (const int id : ids) {
    std::shared_ptr<const NumberFormat>& format = made[id];
    if (!format) {
      const auto code = codes.find(id);
      format =
          std::make_shared<NumberFormat>(code == codes.end() ? NumberFormat::built_in(id) : NumberFormat(code->second));
    }
    formats.push_back(format);
  }
  return formats;
}

}  // namespace mercato::spreadsheet
