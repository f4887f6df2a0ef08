#include "tools/cli/catalog/rights_walk.h"

#include "tools/cli/terminal/listing.h"
#include "values/text.h"

namespace mercato::cli {
namespace {

using Entry = RightsWalk::Entry;
using Place = RightsWalk::Place;

// Among several entries for one thing a restriction counts.
Entry entry_of(const Sql& sql) {
  Entry entry = Entry::none;
  bool has_null = false;
  for (const auto& row : query_rows(sql)) {
    const Variant view_only = row->Item("VIEWONLY");
    if (view_only.is_null())
      has_null = true;
    else if (view_only.to_boolean())
      return Entry::view_only;
    else
      entry = Entry::order;
  }
  if (has_null) raise(error_number::kInvalidUseOfNull);
  return entry;
}

Entry entry_of_catalog(const std::string& user, std::int32_t catalog) {
  Sql sql;
  sql << "SELECT  VIEWONLY FROM CATALOGNODEBYUSER WHERE USERID='" << value(user) << "' AND CATALOGID=" << catalog
      << " AND NODEID IS NULL AND ISPROFILE = 0";
  return entry_of(sql);
}

Entry entry_of_node(const std::string& user, std::int32_t node) {
  Sql sql;
  sql << "SELECT  VIEWONLY FROM CATALOGNODEBYUSER WHERE USERID='" << value(user) << "' AND NODEID=" << node
      << " AND ISPROFILE = 0";
  return entry_of(sql);
}

bool is_laid_out(const std::string& user, std::int32_t node) {
  Sql sql;
  sql << "SELECT NODEID FROM USERNODE WHERE USERID = '" << value(user) << "' AND NODEID = " << node;
  return !query_rows(sql).empty();
}

std::string name_of_catalog(std::int32_t catalog) {
  Sql sql;
  sql << "SELECT CATALOGNAME FROM CATALOG WHERE CATALOGID = " << catalog;
  const Rows rows = query_rows(sql);
  return rows.empty() ? std::string() : text_of(*rows.front(), "CATALOGNAME");
}

}  // namespace

RightsWalk walk_rights(NodeTree& tree, const std::string& user, std::int32_t node) {
  RightsWalk walk;
  walk.node = tree.find(node);
  if (is_laid_out(user, node))
    walk.seen = RightsWalk::Seen::laid_out;
  else if (!walk.node)
    walk.seen = RightsWalk::Seen::nowhere;
  if (!walk.node || !walk.node->catalog) return walk;

  const std::int32_t catalog = *walk.node->catalog;
  // Whether this step ends the walk: a restriction wins wherever it stands.
  const auto restricts = [&](Place place, std::int32_t id, const std::string& name, Entry entry) {
    walk.steps.push_back({place, id, std::string(text::trim(name)), entry});
    // A grant counts on the catalogue and, before it, on the node itself; above the node it counts for nothing.
    if (entry == Entry::view_only || (entry == Entry::order && place != Place::ancestor))
      walk.decisive = walk.steps.size() - 1;
    return entry == Entry::view_only;
  };
  const Entry whole = entry_of_catalog(user, catalog);
  if (!walk.seen) walk.seen = whole == Entry::none ? RightsWalk::Seen::nowhere : RightsWalk::Seen::whole_catalog;
  if (restricts(Place::catalog, catalog, name_of_catalog(catalog), whole)) return walk;
  const WayUp way = tree.way_up(node);
  for (const CatalogNode* above : way.nodes) {
    const Place place = above == way.nodes.front() ? Place::node : Place::ancestor;
    if (restricts(place, above->id, above->name, entry_of_node(user, above->id))) return walk;
  }
  if (way.end == WayUp::End::circle) walk.endless = tree.endless(node);
  return walk;
}

std::vector<std::string> reasons_against_user(const std::string& user) {
  if (user.find('\'') == std::string::npos) return {};
  return {"the library puts a user's id into its statements as it stands, so that it cannot ask for " + user +
          ", which has a quote"};
}

}  // namespace mercato::cli
