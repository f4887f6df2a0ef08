// SPDX-License-Identifier: Apache-2.0
#include "mercato/server.h"

#include <array>
#include <atomic>

#include "collaborators/register.h"
#include "mercato/catalog.h"
#include "mercato/contract.h"
#include "mercato/faqlist.h"
#include "mercato/hazardous_class.h"
#include "mercato/object_context.h"
#include "mercato/price_xml.h"
#include "mercato/product.h"
#include "mercato/product_xml.h"
#include "mercato/property.h"
#include "mercato/property_group.h"
#include "mercato/r_property_group.h"
#include "mercato/registry.h"
#include "mercato/t_catalog.h"
#include "mercato/t_hazardous_class.h"
#include "mercato/t_unit.h"
#include "mercato/t_unspsc.h"
#include "mercato/unit.h"
#include "mercato/unspsc.h"
#include "values/text.h"

namespace mercato {
namespace {

// Class objects, objects made by them, and locks that keep the library in memory.
std::atomic<std::int64_t> holds{0};

class TableClassObject final : public ClassObject {
 public:
  explicit TableClassObject(const ClassTable& table) : table_(table) { ++holds; }
  ~TableClassObject() override { --holds; }
  TableClassObject(const TableClassObject&) = delete;
  TableClassObject& operator=(const TableClassObject&) = delete;

  const ClassTable& class_table() const override { return table_; }

  ComponentPtr CreateInstance() noexcept override {
    try {
      const ComponentPtr object = create_root(table_);
      // The object is counted as long as an owner beside it lives.
      struct Hold {
        ComponentPtr object;
        explicit Hold(ComponentPtr held) : object(std::move(held)) { ++holds; }
        ~Hold() { --holds; }
      };
      return {std::make_shared<Hold>(object), object.get()};
    } catch (const std::exception&) {
      return nullptr;
    }
  }

  void LockServer(bool lock) noexcept override { holds += lock ? 1 : -1; }
  void Release() noexcept override { delete this; }

 private:
  const ClassTable& table_;
};

}  // namespace

std::span<const ClassTable* const> library_classes() {
  static const std::array classes = {
      &Catalog::table(),       &Contract::table(),       &Faqlist::table(),    &HazardousClass::table(),
      &PriceXML::table(),      &Product::table(),        &ProductXML::table(), &Property::table(),
      &PropertyGroup::table(), &RPropertyGroup::table(), &TCatalog::table(),   &THazardousClass::table(),
      &TUNSPSC::table(),       &TUnit::table(),          &UNSPSC::table(),     &Unit::table(),
  };
  return classes;
}

}  // namespace mercato

std::int32_t DllGetClassObject(const char* class_id, mercato::ClassObject** class_object) try {
  if (!class_id || !class_object) return mercato::kNullPointer;
  *class_object = nullptr;
  for (const mercato::ClassTable* table : mercato::library_classes()) {
    if (!mercato::text::equal_names(table->class_id(), class_id)) continue;
    *class_object = new (std::nothrow) mercato::TableClassObject(*table);
    return *class_object ? mercato::kOk : mercato::kOutOfMemoryResult;
  }
  return mercato::kClassNotAvailable;
} catch (const std::exception&) {
  return mercato::kOutOfMemoryResult;
}

std::int32_t DllCanUnloadNow() { return mercato::holds == 0 ? mercato::kOk : mercato::kFalse; }

std::int32_t DllRegisterServer() try {
  for (const mercato::ClassTable* table : mercato::library_classes()) mercato::register_class(*table);
  for (const mercato::ClassTable* table : mercato::collaborators::collaborator_classes())
    if (!mercato::registered_class(table->prog_id())) mercato::register_class(*table);
  return mercato::kOk;
} catch (const std::exception&) {
  return mercato::kOutOfMemoryResult;
}

std::int32_t DllUnregisterServer() try {
  for (const mercato::ClassTable* table : mercato::library_classes()) mercato::unregister_class(*table);
  for (const mercato::ClassTable* table : mercato::collaborators::collaborator_classes())
    mercato::unregister_class(*table);
  return mercato::kOk;
} catch (const std::exception&) {
  return mercato::kOutOfMemoryResult;
}
