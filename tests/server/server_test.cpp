// SPDX-License-Identifier: Apache-2.0
#include "mercato/server.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <set>
#include <string>

#include "collaborators/grundwerk/log.h"
#include "collaborators/register.h"
#include "mercato/invoke.h"
#include "mercato/object_context.h"
#include "mercato/registry.h"
#include "tests/support/store_fixture.h"
#include "values/text.h"

namespace mercato::test {
namespace {

class Server : public StoreTest {
 protected:
  static ClassObject* class_object_of(const std::string& class_id) {
    ClassObject* class_object = nullptr;
    EXPECT_EQ(DllGetClassObject(class_id.c_str(), &class_object), kOk) << class_id;
    return class_object;
  }
  static const std::string& unit_id() { return registered_class("Mercato.Unit")->class_id(); }
};

// The library is looked at, not loaded: this program has a copy of it inside.
TEST_F(Server, ExportsItsFourEntryPointsByName) {
  FILE* const listing = ::popen("nm -D --defined-only --format=posix '" MERCATO_LIBRARY "'", "r");
  ASSERT_NE(listing, nullptr);
  std::set<std::string> exported;
  for (char line[4096]; std::fgets(line, sizeof line, listing);) {
    const std::string name = line;
    exported.insert(name.substr(0, name.find(' ')));
  }
  EXPECT_EQ(::pclose(listing), 0);
  for (const char* entry : {"DllGetClassObject", "DllCanUnloadNow", "DllRegisterServer", "DllUnregisterServer"})
    EXPECT_TRUE(exported.contains(entry)) << entry;
}

TEST_F(Server, HasAClassObjectForEachPublicClass) {
  for (const ClassTable* table : library_classes()) {
    ClassObject* class_object = class_object_of(table->class_id());
    ASSERT_NE(class_object, nullptr);
    EXPECT_EQ(&class_object->class_table(), table);
    const ComponentPtr object = class_object->CreateInstance();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(&object->class_table(), table);
    EXPECT_NE(object->context(), nullptr);
    class_object->Release();
  }
  EXPECT_EQ(DllCanUnloadNow(), kOk);
}

TEST_F(Server, FindsAClassIdInAnyCase) {
  ClassObject* class_object = class_object_of(text::to_lower(unit_id()));
  ASSERT_NE(class_object, nullptr);
  EXPECT_EQ(class_object->class_table().prog_id(), "Mercato.Unit");
  class_object->Release();
}

TEST_F(Server, HasNoClassObjectForAnUnknownId) {
  ClassObject* class_object = class_object_of(unit_id());
  ClassObject* const kept = class_object;
  for (const char* unknown : {"", "{}", "Mercato.Unit", "{00000000-0000-0000-0000-000000000000}"}) {
    class_object = kept;
    EXPECT_EQ(DllGetClassObject(unknown, &class_object), kClassNotAvailable) << unknown;
    EXPECT_EQ(class_object, nullptr);
  }
  kept->Release();
}

TEST_F(Server, RefusesMissingArguments) {
  ClassObject* class_object = nullptr;
  EXPECT_EQ(DllGetClassObject(nullptr, &class_object), kNullPointer);
  EXPECT_EQ(DllGetClassObject(unit_id().c_str(), nullptr), kNullPointer);
  EXPECT_EQ(DllCanUnloadNow(), kOk);
}

TEST_F(Server, StaysWhileAClassObjectAnObjectOrALockIsLeft) {
  EXPECT_EQ(DllCanUnloadNow(), kOk);
  ClassObject* class_object = class_object_of(unit_id());
  EXPECT_EQ(DllCanUnloadNow(), kFalse);
  ComponentPtr object = class_object->CreateInstance();
  class_object->Release();
  EXPECT_EQ(DllCanUnloadNow(), kFalse);
  ComponentPtr shared = object;
  object.reset();
  EXPECT_EQ(DllCanUnloadNow(), kFalse);
  EXPECT_EQ(invoke(shared, "GetAllUnits", {}).to<Dictionary>()->Count(), 0);
  shared.reset();
  EXPECT_EQ(DllCanUnloadNow(), kOk);

  class_object = class_object_of(unit_id());
  class_object->LockServer(true);
  class_object->LockServer(true);
  class_object->LockServer(false);
  class_object->Release();
  EXPECT_EQ(DllCanUnloadNow(), kFalse);
  class_object = class_object_of(unit_id());
  class_object->LockServer(false);
  class_object->Release();
  EXPECT_EQ(DllCanUnloadNow(), kOk);
}

TEST_F(Server, RegistersAndForgetsItsClassesAndTheCollaborators) {
  for (const ClassTable* table : library_classes()) EXPECT_EQ(registered_class(table->prog_id()), table);
  for (const ClassTable* table : collaborators::collaborator_classes())
    EXPECT_EQ(registered_class(table->prog_id()), table);
  EXPECT_EQ(DllUnregisterServer(), kOk);
  for (const ClassTable* table : library_classes()) EXPECT_EQ(registered_class(table->prog_id()), nullptr);
  for (const ClassTable* table : collaborators::collaborator_classes())
    EXPECT_EQ(registered_class(table->prog_id()), nullptr);
  EXPECT_EQ(DllUnregisterServer(), kOk);
  EXPECT_EQ(DllRegisterServer(), kOk);
  EXPECT_EQ(DllRegisterServer(), kOk);
  EXPECT_NE(registered_class("Mercato.Product"), nullptr);
}

class HostsLog : public ComponentOf<HostsLog> {
 public:
  static const ClassTable& table() {
    static const ClassTable table =
        ClassTable::of<HostsLog>("Grundwerk.Log", "{00000000-0000-0000-0000-000000000004}", TransactionAttribute::none)
            .collaborator();
    return table;
  }
};

TEST_F(Server, LeavesACollaboratorOfTheHostInItsPlace) {
  DllUnregisterServer();
  register_class(HostsLog::table());
  DllRegisterServer();
  EXPECT_EQ(registered_class("Grundwerk.Log"), &HostsLog::table());
  DllUnregisterServer();
  EXPECT_EQ(registered_class("Grundwerk.Log"), &HostsLog::table());
  unregister_class(HostsLog::table());
}

TEST_F(Server, NamesEveryPublicClassOnce) {
  static const std::regex class_id_form(R"(\{[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\})");
  std::set<std::string> prog_ids;
  std::set<std::string> class_ids;
  for (const ClassTable* table : library_classes()) {
    EXPECT_EQ(table->prog_id(), "Mercato." + std::string(table->class_name()));
    EXPECT_EQ(table->default_interface(), "_" + std::string(table->class_name()));
    EXPECT_TRUE(std::regex_match(table->class_id(), class_id_form)) << table->class_id();
    EXPECT_TRUE(prog_ids.insert(table->prog_id()).second) << table->prog_id();
    EXPECT_TRUE(class_ids.insert(table->class_id()).second) << table->class_id();
    EXPECT_FALSE(table->is_collaborator());
  }
  for (const ClassTable* table : collaborators::collaborator_classes()) {
    EXPECT_TRUE(class_ids.insert(table->class_id()).second) << table->class_id();
    EXPECT_TRUE(table->is_collaborator()) << table->prog_id();
  }
}

}  // namespace
}  // namespace mercato::test
