// SPDX-License-Identifier: Apache-2.0
// mercato property and mercato group: what properties there are, and which go together.
#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string_view>

#include "classification/group_members.h"
#include "keeping/property_keeping.h"
#include "mercato/object_context.h"
#include "mercato/property.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/confirmation.h"
#include "tools/cli/terminal/listing.h"
#include "tools/cli/terminal/row_progress.h"

namespace mercato::cli {
namespace property_commands {

constexpr const char* kPropertyProgId = "Mercato.Property";
constexpr const char* kGroupProgId = "Mercato.PropertyGroup";

constexpr std::array<std::string_view, 4> kTypeNames = {"text", "number", "enum", "date"};  // of Datatype, in its order

struct NoOptions {};
struct NewProperty {
  std::string name;
  std::int16_t type = 1;
  std::string default_value;
  bool external = false;
};
struct PropertyChange {
  std::string property;
  std::optional<std::string> name;
  std::optional<std::int16_t> type;
  std::optional<std::string> default_value;
};
struct Named {
  std::string which;  // id or name
};
struct Deleted {
  std::string which;
  bool yes = false;
};
struct Choices {
  std::string property;
  std::vector<std::string> added;
  std::vector<std::string> removed;
  bool force = false;
};
struct Application {
  std::string which;
  bool dry_run = false;
  bool yes = false;
};
struct Member {
  std::string group;
  std::string property;
};
struct Membership {
  std::string group;
  std::string property;
  bool mandatory = false;
  bool show = false;
};

std::string type_name(const Variant& type) {
  if (type.is_null()) return {};
  const std::int32_t number = type.to_long();
  const bool known = number >= 1 && number <= static_cast<std::int32_t>(kTypeNames.size());
  return known ? std::string(kTypeNames[static_cast<std::size_t>(number - 1)]) : type.to_text();
}

// Properties

int insert_property(const NewProperty& given, const OutputOptions& output) {
  const Array fields{"PROPERTYNAME", "DEFAULTVALUE"};
  const Array values{given.name, given.default_value};
  const std::int32_t id =
      explaining([&](const RaisedError&) { return reasons_against_write("PROPERTY", fields, values); },
                 [&] {
                   return call(create_root(kPropertyProgId), "Insert21",
                               {given.name, given.type, given.default_value, given.external})
                       .to_long();
                 });
  return answer(output, {{"id", id}}, "property " + std::to_string(id) + " created.");
}

int list_properties(const NoOptions&, const OutputOptions& output) {
  const ComponentPtr properties = create_root(kPropertyProgId);
  gateway::Json list = gateway::Json::array();
  Table table({"ID", "NAME", "TYPE", "EXTERNAL", "DEFAULT", "CHOICES"});
  for (const DictionaryPtr& row : all_of(kProperties)) {
    gateway::Json choices = gateway::Json::array();
    std::string words;
    if (const Variant& type = row->Item("DATATYPE"); !type.is_null() && type.to_long() == ENUMPROPERTYTYPE)
      call(properties, "getPropertyEnums", {row->Item("PROPERTYID")})
          .to<Dictionary>()
          ->for_each([&](const Variant&, const Variant& choice) {
            choices.push_back(choice.to_text());
            words += (words.empty() ? "" : ", ") + choice.to_text();
          });
    gateway::Json json = to_json(*row);
    json["CHOICES"] = std::move(choices);
    list.push_back(std::move(json));
    table.add({text_of(*row, "PROPERTYID"), shown(text_of(*row, "PROPERTYNAME")), type_name(row->Item("DATATYPE")),
               text_of(*row, "EXTERNAL"), shown(text_of(*row, "DEFAULTVALUE"), 30), shown(words)});
  }
  return answer_list(output, "properties", std::move(list), table, "There are no properties.");
}

int update_property(const PropertyChange& given, const OutputOptions& output) {
  Array fields;
  Array values;
  const auto add = [&](const char* field, const auto& value) {
    if (!value) return;
    fields.items.emplace_back(field);
    values.items.emplace_back(*value);
  };
  add("PROPERTYNAME", given.name);
  add("DATATYPE", given.type);
  add("DEFAULTVALUE", given.default_value);
  const std::int32_t id = id_of(kProperties, given.property);
  expect_row("PROPERTY", id);
  const bool updated =
      explaining([&](const RaisedError&) { return reasons_against_write("PROPERTY", fields, values); },
                 [&] {
                   return call(create_root(kPropertyProgId), "Update20", {id, fields, values}).to_boolean();
                 });
  return answer(output, {{"updated", updated}}, "property " + std::to_string(id) + " changed.");
}

int change_choices(const Choices& given, const OutputOptions& output) {
  const DictionaryPtr property = one_of(kProperties, id_of(kProperties, given.property));
  const std::int32_t id = property->Item("PROPERTYID").to_long();
  const std::string name = "property " + std::to_string(id) + " " + shown(text_of(*property, "PROPERTYNAME"));
  OneTransaction transaction;
  if (!given.added.empty() || !given.removed.empty()) {
    const Variant& type = property->Item("DATATYPE");
    Reasons reasons;
    if (type.is_null() || type.to_long() != ENUMPROPERTYTYPE)
      reasons.push_back(name + " has the type " + type_name(type) +
                        "; only one of the type enum has choices: `mercato property set --type enum`");
    for (const std::string& choice : given.added)
      if (reasons.empty() && !keeping::add_choice(id, choice)) reasons.push_back(choice + " is a choice already");
    for (const std::string& choice : given.removed) {
      const std::size_t values = keeping::count_values(id, choice);
      if (values > 0 && !given.force)
        reasons.push_back(counted(values, "value") + " of products say " + choice +
                          "; --force removes the choice all the same");
      else if (!keeping::remove_choice(id, choice))
        reasons.push_back(choice + " is no choice");
    }
    if (!reasons.empty())
      return refuse(output, {{"changed", false}}, "the choices of " + name + " stay as they were.", reasons);
  }
  const std::vector<std::string> choices = keeping::choices_of(id);
  transaction.commit();
  Table table({"CHOICE"});
  for (const std::string& choice : choices) table.add({shown(choice, 200)});
  return answer_list(output, "choices", choices, table, name + " has no choices.");
}

int delete_one(const Kind& kind, const char* prog_id, const char* table, const Deleted& given,
               const OutputOptions& output) {
  const DictionaryPtr row = one_of(kind, id_of(kind, given.which));
  return delete_row(
      {prog_id, "Delete", table, row->Item(kind.id_column), given.yes, shown(text_of(*row, kind.name_column))}, output);
}

int delete_property(const Deleted& given, const OutputOptions& output) {
  return delete_one(kProperties, kPropertyProgId, "PROPERTY", given, output);
}

// Groups

int insert_group(const Named& given, const OutputOptions& output) {
  const std::int32_t id = explaining(
      [&](const RaisedError&) {
        return reasons_against_write("PROPERTYGROUP", Array{"PROPERTYGROUPNAME"}, Array{given.which});
      },
      [&] { return call(create_root(kGroupProgId), "Insert", {given.which}).to_long(); });
  return answer(output, {{"id", id}}, "property group " + std::to_string(id) + " created.");
}

std::map<std::int32_t, Rows> members_by_group() {
  std::map<std::int32_t, Rows> members;
  for (const DictionaryPtr& row : classification::members_of_all_groups(connection_string()))
    members[row->Item("PROPERTYGROUPID").to_long()].push_back(row);
  return members;
}

int list_groups(const NoOptions&, const OutputOptions& output) {
  const auto members = members_by_group();
  gateway::Json list = gateway::Json::array();
  Table table({"ID", "NAME", "PROPERTIES"});
  for (const DictionaryPtr& row : all_of(kPropertyGroups)) {
    gateway::Json json = to_json(*row);
    json["PROPERTIES"] = gateway::Json::array();
    std::string words;
    if (const auto of_group = members.find(row->Item("PROPERTYGROUPID").to_long()); of_group != members.end())
      for (const DictionaryPtr& member : of_group->second) {
        gateway::Json property = to_json(*member);
        property.erase("PROPERTYGROUPID");
        json["PROPERTIES"].push_back(std::move(property));
        words += (words.empty() ? "" : ", ") + text_of(*member, "PROPERTYNAME") +
                 (text_of(*member, "MANDATORY") == "yes" ? " (mandatory)" : "");
      }
    list.push_back(std::move(json));
    table.add({text_of(*row, "PROPERTYGROUPID"), shown(text_of(*row, "PROPERTYGROUPNAME")), shown(words, 200)});
  }
  return answer_list(output, "groups", std::move(list), table, "There are no property groups.");
}

int add_member(const Membership& given, const OutputOptions& output) {
  // The library takes any two ids, so group and property are looked for here.
  const DictionaryPtr group = one_of(kPropertyGroups, id_of(kPropertyGroups, given.group));
  const DictionaryPtr property = one_of(kProperties, id_of(kProperties, given.property));
  const std::string property_name = text_of(*property, "PROPERTYNAME");
  const std::string group_name = text_of(*group, "PROPERTYGROUPNAME");
  const auto explain = [&](const RaisedError& error) {
    if (error.Number != error_number::kConstraintViolated) return Reasons();
    return Reasons{property_name + " is in " + group_name + " already"};
  };
  explaining(explain, [&] {
    return call(create_root(kGroupProgId), "AddPropertyToPropertyGroupEx",
                {group->Item("PROPERTYGROUPID"), property->Item("PROPERTYID"), given.mandatory, given.show});
  });
  return answer(output, {{"added", true}},
                property_name + " added to " + group_name + "; `group apply` brings its products in line.");
}

int remove_member(const Member& given, const OutputOptions& output) {
  const DictionaryPtr group = one_of(kPropertyGroups, id_of(kPropertyGroups, given.group));
  const std::int32_t property = id_of(kProperties, given.property);
  const std::string group_name = text_of(*group, "PROPERTYGROUPNAME");
  OneTransaction transaction;
  const bool removed = keeping::remove_from_group(group->Item("PROPERTYGROUPID").to_long(), property);
  const gateway::Json json = {{"removed", removed}};
  if (!removed)
    return refuse(output, json, "property " + std::to_string(property) + " is not in " + group_name + ".", {});
  transaction.commit();
  return answer(output, json,
                "property " + std::to_string(property) + " removed from " + group_name +
                    "; the values of its products go with `group apply`.");
}

std::string words_for(const keeping::GroupAlignment& plan) {
  std::string words = counted(plan.products, "product") + ": " + counted(plan.removed, "value") + " removed, " +
                      std::to_string(plan.added) + " added";
  constexpr std::size_t kMost = 5;
  for (std::size_t place = 0; place < std::min(plan.losses.size(), kMost); ++place) {
    const keeping::GroupAlignment::Loss& loss = plan.losses[place];
    words += (place == 0 ? " (of " : ", ") + (loss.name.empty() ? std::to_string(loss.property) : shown(loss.name)) +
             " " + std::to_string(loss.values);
  }
  if (plan.losses.size() > kMost) words += ", and of " + std::to_string(plan.losses.size() - kMost) + " more";
  return words + (plan.losses.empty() ? "" : ")");
}

int apply_group(const Application& given, const OutputOptions& output) {
  constexpr std::int32_t kAllProducts = -1;
  const DictionaryPtr group = one_of(kPropertyGroups, id_of(kPropertyGroups, given.which));
  const Variant& id = group->Item("PROPERTYGROUPID");
  const keeping::GroupAlignment plan = keeping::plan_alignment(id.to_long());
  gateway::Json json = {{"applied", false},
                        {"dryRun", given.dry_run},
                        {"products", plan.products},
                        {"removed", plan.removed},
                        {"added", plan.added}};
  if (given.dry_run) return answer(output, json, words_for(plan) + ". A dry run: nothing was changed.");
  if (plan.removed > 0 && !given.yes)
    expect_consent(words_for(plan) + " to bring them in line with " + text_of(*group, "PROPERTYGROUPNAME"));
  {
    const RowProgress progress(plan.removed + plan.added);
    json["applied"] = call(create_root(kGroupProgId), "UpdateGroupChange", {id, kAllProducts}).to_boolean();
  }
  return answer(
      output, json,
      "the products of " + text_of(*group, "PROPERTYGROUPNAME") + " are in line with it; " + words_for(plan) + ".");
}

int delete_group(const Deleted& given, const OutputOptions& output) {
  return delete_one(kPropertyGroups, kGroupProgId, "PROPERTYGROUP", given, output);
}

// An option that sets `type` to the data type that it names.
template <class Type>
void add_type(Command& command, Type& type, const char* description) {
  command
      .add_choice(
          "--type", {kTypeNames.begin(), kTypeNames.end()},
          [&type](const std::string& name) {
            const auto* found = std::find(kTypeNames.begin(), kTypeNames.end(), name);
            type = static_cast<std::int16_t>(found - kTypeNames.begin() + 1);
          },
          description)
      ->type_name("text|number|enum|date");
}

constexpr const char* kWhichProperty = "The property's id, or its name when only one has it";
constexpr const char* kWhichGroup = "The group's id, or its name when only one has it";

void add_properties(Menu& menu) {
  Menu::Group group = menu.group("property", "Create, list, change and delete properties");
  {
    const auto [command, given] = group.add("new", "Create a property and print its id",
                                            "  mercato property new FORMAT --default A4\n"
                                            "  mercato property new GRAMMAGE --type number --external\n"
                                            "  mercato property new FINISH --type enum\n"
                                            "Values of an external property survive a change of the product's group.\n",
                                            insert_property);
    command.add_option("NAME", given.name, "The name; it need not be the only one")->required()->check(is_no_blank());
    add_type(command, given.type, "What its values are; text when it is not given");
    command.add_option("--default", given.default_value, "What a product gets with its group")->type_name("VALUE");
    command.add_flag("--external", given.external, "No group owns it");
  }
  group.add("list", "List the properties", "  mercato property list\n", list_properties);
  {
    const auto [command, given] = group.add("set", "Change a property",
                                            "  mercato property set SHEETS --default 250\n"
                                            "  mercato property set 3 --name WEIGHT --type number\n"
                                            "Another type than enum takes the property's choices away.\n",
                                            update_property);
    command.add_option("PROPERTY", given.property, kWhichProperty)->required();
    Command* changes = command.add_changes();
    changes->add_option("--name", given.name, "The new name")->type_name("NAME");
    add_type(*changes, given.type, "The new type");
    changes->add_option("--default", given.default_value, "The new default")->type_name("VALUE");
  }
  {
    const auto [command, given] = group.add(
        "choices", "List or change what a property of the type enum chooses among",
        "  mercato property choices FINISH --add matt --add glossy\n"
        "  mercato property choices FINISH --remove glossy\n"
        "All of it or nothing. A choice that products have stays, but with --force; their values stay then.\n",
        change_choices);
    command.add_option("PROPERTY", given.property, kWhichProperty)->required();
    command.add_option("--add", given.added, "A new choice, behind the others")->type_name("VALUE");
    command.add_option("--remove", given.removed, "A choice that is offered no more")->type_name("VALUE");
    command.add_flag("--force", given.force, "Also when products have it");
  }
  {
    const auto [command, given] = group.add("delete", "Delete a property and its places in groups",
                                            "  mercato property delete FORMAT --yes\n"
                                            "A property that a product has a value of stays.\n",
                                            delete_property);
    command.add_option("PROPERTY", given.which, kWhichProperty)->required();
    command.add_flag("--yes", given.yes, "Do not ask");
  }
}

void add_groups(Menu& menu) {
  Menu::Group group = menu.group("group", "Create, list, fill, apply and delete property groups");
  {
    const auto [command, given] = group.add("new", "Create a property group and print its id",
                                            "  mercato group new 'Copy paper'\n", insert_group);
    command.add_option("NAME", given.which, "The name; it need not be the only one")->required()->check(is_no_blank());
  }
  group.add("list", "List the property groups with their properties", "  mercato group list\n", list_groups);
  {
    const auto [command, given] = group.add("add", "Add a property to a group",
                                            "  mercato group add 'Copy paper' SHEETS --mandatory\n"
                                            "Products that are in the group already get it with `group apply`.\n",
                                            add_member);
    command.add_option("GROUP", given.group, kWhichGroup)->required();
    command.add_option("PROPERTY", given.property, kWhichProperty)->required();
    command.add_flag("--mandatory", given.mandatory, "A requisition has to fill it in");
    command.add_flag("--show", given.show, "It stands in the product sheet");
  }
  {
    const auto [command, given] = group.add("remove", "Take a property out of a group",
                                            "  mercato group remove 'Copy paper' SHEETS\n"
                                            "Values of products stay until `group apply`.\n",
                                            remove_member);
    command.add_option("GROUP", given.group, kWhichGroup)->required();
    command.add_option("PROPERTY", given.property, kWhichProperty)->required();
  }
  {
    const auto [command, given] =
        group.add("apply", "Bring the properties of all products of a group in line with it",
                  "  mercato group apply 'Copy paper' --dry-run\n"
                  "  mercato group apply 'Copy paper' --yes\n"
                  "What a product lacks comes with its default; what neither the group has nor is external goes, and "
                  "before values\n"
                  "go you are asked.\n",
                  apply_group);
    command.add_option("GROUP", given.which, kWhichGroup)->required();
    command.add_flag("--dry-run", given.dry_run, "Say how many values come and go, and change nothing");
    command.add_flag("--yes", given.yes, "Do not ask");
  }
  {
    const auto [command, given] = group.add("delete", "Delete a property group",
                                            "  mercato group delete 'Copy paper' --yes\n"
                                            "A group that a product, commodity or user has stays.\n",
                                            delete_group);
    command.add_option("GROUP", given.which, kWhichGroup)->required();
    command.add_flag("--yes", given.yes, "Do not ask");
  }
}

}  // namespace property_commands

void add_property_commands(Menu& menu) {
  using namespace property_commands;
  add_properties(menu);
  add_groups(menu);
}

}  // namespace mercato::cli
