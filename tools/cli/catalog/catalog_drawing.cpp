// SPDX-License-Identifier: Apache-2.0
// mercato catalog tree: the nodes of a catalogue as a tree, with their products and what a user may do with them.
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <set>

#include "catalog/catalog_lists.h"
#include "catalog/node_tree.h"
#include "mercato/object_context.h"
#include "tools/cli/catalog/catalog_commands.h"
#include "tools/cli/catalog/catalog_names.h"
#include "tools/cli/library.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

struct Lines {
  const char* child;
  const char* last_child;
  const char* beside;  // below a child that others follow
  const char* below;   // below the last one
};
constexpr Lines kBoxes = {"├── ", "└── ", "│   ", "    "};
constexpr Lines kPlain = {"|-- ", "`-- ", "|   ", "    "};

// Lines are drawn for so many levels. A node below them names its level: lines for all levels of a chain of nodes would
// take the square of its length.
constexpr std::size_t kDrawnLevels = 64;

// Whether the locale says that the terminal takes UTF-8.
const Lines& lines_of_terminal() {
  for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* locale = std::getenv(variable);
    if (locale == nullptr || *locale == '\0') continue;
    const std::string name = text::to_upper(locale);
    return name.find("UTF-8") != std::string::npos || name.find("UTF8") != std::string::npos ? kBoxes : kPlain;
  }
  return kPlain;
}

struct Rights {
  bool authorized = false;
  bool view_only = false;
  bool order = false;
};

Rights ask_rights(const ComponentPtr& catalogs, const std::string& user, std::int32_t node) {
  const auto ask = [&](const char* method) { return call(catalogs, method, {user, node}).to_boolean(); };
  return {ask("IsAuthorizedCatalogNode"), ask("IsViewOnlyCatalogNodeEx"), ask("IsOrderCatalogNodeEx")};
}

std::string words_for(const std::optional<Rights>& rights) {
  if (!rights) return "[cannot be asked: a circle]";
  std::string words = rights->authorized ? "sees" : "";
  const auto add = [&](const char* more) { words += (words.empty() ? "" : ", ") + std::string(more); };
  if (rights->order) add("orders");
  if (rights->view_only) add("view only");
  return words.empty() ? "[no right]" : rights->order ? good("[" + words + "]") : "[" + words + "]";
}

// One line of the tree.
struct Drawn {
  const CatalogNode* node;
  std::size_t level;       // 1: no line leads to it
  bool last;               // among its siblings
  std::size_t hidden = 0;  // nodes below it, when it stands on the last level that is wanted
};

class Drawing {
 public:
  Drawing(NodeTree& tree, std::int32_t catalog) : nodes_(tree.nodes_of(catalog)) {
    std::set<std::int32_t> own;
    for (const CatalogNode* node : nodes_) own.insert(node->id);
    for (const CatalogNode* node : nodes_) {
      if (!node->parent) {
        tops_.push_back(node);
      } else if (own.contains(*node->parent)) {
        children_[*node->parent].push_back(node);
      } else {
        tops_.push_back(node);
        problems_.push_back("the parent of node " + std::to_string(node->id) + " " + shown(node->name) + ", node " +
                            std::to_string(*node->parent) + ", " +
                            (tree.find(*node->parent) ? "is of another catalogue" : "is not there"));
      }
    }
    open_circles(tree);
  }

  const std::vector<const CatalogNode*>& nodes() const { return nodes_; }
  const Reasons& problems() const { return problems_; }

  std::vector<Drawn> draw(std::size_t depth) const {
    std::vector<Drawn> waiting;
    const auto put = [&](const std::vector<const CatalogNode*>& siblings, std::size_t level) {
      for (auto node = siblings.rbegin(); node != siblings.rend(); ++node)
        waiting.push_back({*node, level, node == siblings.rbegin()});
    };
    std::vector<Drawn> drawn;
    put(tops_, 1);
    while (!waiting.empty()) {
      store::check_call_limit();
      const Drawn at = waiting.back();
      waiting.pop_back();
      drawn.push_back(at);
      const auto below = children_.find(at.node->id);
      if (below == children_.end()) continue;
      if (depth != 0 && at.level == depth)
        drawn.back().hidden = count_below(at.node->id);
      else
        put(below->second, at.level + 1);
    }
    return drawn;
  }

 private:
  // No root leads to a circle. It is cut above the first of its nodes, which becomes a top.
  void open_circles(NodeTree& tree) {
    std::set<std::int32_t> reached;
    for (const CatalogNode* top : tops_) reach(top->id, reached);
    for (const CatalogNode* node : nodes_) {
      if (reached.contains(node->id)) continue;
      // A node below a circle is passed over: it is reached when the circle is cut at one of the circle's own nodes.
      const WayUp way = tree.way_up(node->id);
      if (way.end != WayUp::End::circle || way.nodes.back()->parent != node->id) continue;
      problems_.push_back("the parents of node " + std::to_string(node->id) + " " + shown(node->name) +
                          " go in a circle: " + circle_of(way));
      std::erase(children_[*node->parent], node);
      tops_.push_back(node);
      reach(node->id, reached);
    }
  }
  void reach(std::int32_t node, std::set<std::int32_t>& reached) const {
    for (std::vector<std::int32_t> waiting = {node}; !waiting.empty();) {
      const std::int32_t at = waiting.back();
      waiting.pop_back();
      store::check_call_limit();
      if (!reached.insert(at).second) continue;
      if (const auto below = children_.find(at); below != children_.end())
        for (const CatalogNode* child : below->second) waiting.push_back(child->id);
    }
  }
  std::size_t count_below(std::int32_t node) const {
    std::set<std::int32_t> reached;
    reach(node, reached);
    return reached.size() - 1;
  }

  std::vector<const CatalogNode*> nodes_;
  std::vector<const CatalogNode*> tops_;
  std::map<std::int32_t, std::vector<const CatalogNode*>> children_;
  Reasons problems_;
};

// What is drawn in front of the nodes. It has to be asked in the order of the tree.
class Branches {
 public:
  explicit Branches(const Lines& lines) : lines_(lines) {}

  std::string in_front_of(const Drawn& line) {
    std::string front;
    for (std::size_t level = 2; level < std::min(line.level, kDrawnLevels + 1); ++level)
      front += last_[level - 1] ? lines_.below : lines_.beside;
    if (line.level > kDrawnLevels)
      front += "level " + std::to_string(line.level) + ": ";
    else if (line.level > 1)
      front += line.last ? lines_.last_child : lines_.child;
    last_.resize(line.level);
    last_.back() = line.last;
    return front;
  }

 private:
  const Lines& lines_;
  std::vector<bool> last_;  // of the node on each level above the next one
};

using Count = std::optional<std::int32_t>;

// The tree on its way to the terminal: as text and as JSON, line by line.
class Told {
 public:
  explicit Told(const std::string& user) : user_(user), branches_(lines_of_terminal()) {}

  // `products`: of the category that the node shows, if it shows one. `rights`: nothing when they cannot be asked.
  void add(const Drawn& line, Count products, const std::optional<Rights>& rights) {
    const CatalogNode& node = *line.node;
    gateway::Json row = {{"NODEID", node.id},
                         {"PARENTNODEID", or_null(node.parent)},
                         {"NODENAME", node.name},
                         {"NODETYPE", node.type},
                         {"LEVEL", line.level},
                         {"CATEGORYID", or_null(node.category)},
                         {"PRODUCTS", or_null(products)},
                         {"HIDDEN", line.hidden}};
    if (!user_.empty())
      row["RIGHTS"] = rights ? gateway::Json{{"AUTHORIZED", rights->authorized},
                                             {"VIEWONLY", rights->view_only},
                                             {"ORDER", rights->order}}
                             : gateway::Json(nullptr);
    json_.push_back(std::move(row));

    text_ += branches_.in_front_of(line) + std::to_string(node.id) + " " + shown(node.name);
    if (products) text_ += " (" + counted(static_cast<std::size_t>(*products), "product") + ")";
    if (line.hidden > 0) text_ += " (" + counted(line.hidden, "node") + " below)";
    if (!user_.empty()) text_ += "  " + words_for(rights);
    text_ += '\n';
  }

  void print(const CatalogName& catalog, const Drawing& drawing, const OutputOptions& output) {
    if (output.json) {
      std::cout << gateway::line_of(gateway::Json{
                       {"CATALOGID", catalog.id}, {"nodes", std::move(json_)}, {"problems", drawing.problems()}})
                << '\n';
      return;
    }
    std::cout << bold("catalogue " + shown(catalog) + ", " + counted(drawing.nodes().size(), "node")) << '\n' << text_;
    if (!user_.empty())
      std::cout << "sees: the node is laid out for " << shown(user_)
                << ", or the whole catalogue is his; orders, view only: what the entries on its way up say\n";
    for (const std::string& problem : drawing.problems()) std::cerr << alarming("wrong: ") << problem << '\n';
  }

 private:
  static gateway::Json or_null(Count number) { return number ? gateway::Json(*number) : gateway::Json(nullptr); }

  const std::string& user_;  // empty: nobody's rights
  Branches branches_;
  gateway::Json json_ = gateway::Json::array();
  std::string text_;
};

}  // namespace

int draw_catalog(const DrawnCatalog& given, const OutputOptions& output) {
  if (const Reasons reasons = reasons_against_user(given.user); !reasons.empty())
    raise(error_number::kInvalidArgument, {}, reasons.front());
  const store::CallLimit limit = call_limit();
  const CatalogName catalog = find_catalog(given.catalog);
  NodeTree tree;
  const Drawing drawing(tree, catalog.id);
  const std::map<std::int32_t, std::int32_t> products = product_counts_by_category();
  const auto products_of = [&](const CatalogNode& node) -> Count {
    const auto category = node.shown_category();
    if (!category) return std::nullopt;
    const auto found = products.find(*category);
    return found == products.end() ? 0 : found->second;
  };
  const ComponentPtr catalogs = create_root("Mercato.Catalog");
  const auto rights_on = [&](const CatalogNode& node) -> std::optional<Rights> {
    if (given.user.empty() || endless(tree, node.id))
      return std::nullopt;  // in a circle the library would ask until its time is up
    return ask_rights(catalogs, given.user, node.id);
  };
  Told told(given.user);
  for (const Drawn& line : drawing.draw(static_cast<std::size_t>(given.depth))) {
    store::check_call_limit();
    told.add(line, products_of(*line.node), rights_on(*line.node));
  }
  told.print(catalog, drawing, output);
  return drawing.problems().empty() ? kDone : kDoneInPart;
}

}  // namespace mercato::cli
