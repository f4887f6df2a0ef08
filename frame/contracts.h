// SPDX-License-Identifier: Apache-2.0
// The contracts of the collaborating components, as the library sees them: each is a thin typed face over a component
// that is called by name, so that any component with these operations can stand behind it. Default ones live in
// collaborators/. A contract made without a component creates it through Gen_GetComponent when it is first asked.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "frame/lib_general.h"
#include "mercato/dictionary.h"
#include "mercato/invoke.h"

namespace mercato {

class ComponentContract {
 public:
  bool created() const { return component_ != nullptr; }
  // Creates the component unless it exists. Raises what Gen_GetComponent raises.
  void create() {
    if (!component_) component_ = Gen_GetComponent(prog_id_);
  }
  // The same outside of any context. Raises 429, unlogged.
  void create_plainly();
  void release() { component_.reset(); }
  const ComponentPtr& component() const { return component_; }

 protected:
  explicit ComponentContract(std::string_view prog_id, ComponentPtr component = nullptr)
      : prog_id_(prog_id), component_(std::move(component)) {}

  Variant call(std::string_view operation, std::initializer_list<Variant> arguments) {
    create();
    return invoke(component_, operation, arguments);
  }
  Variant call(std::string_view operation, std::vector<Variant>& arguments) {
    create();
    return invoke(component_, operation, arguments);
  }

 private:
  std::string_view prog_id_;
  ComponentPtr component_;
};

namespace grundwerk {

class Log : public ComponentContract {
 public:
  Log() : ComponentContract("Grundwerk.Log") {}
  // Severity 0 is an error, 1 is information.
  void WriteEntry(const std::string& source, const std::string& text, std::int32_t severity) {
    call("WriteEntry", {source, text, severity});
  }
  void WriteEntryAlternate(const std::string& source, const std::string& text, std::int32_t severity) {
    call("WriteEntryAlternate", {source, text, severity});
  }
};

class Configuration : public ComponentContract {
 public:
  // Callers spell the ProgID in two ways, to the same effect.
  explicit Configuration(std::string_view prog_id = "Grundwerk.Configuration") : ComponentContract(prog_id) {}
  Variant GetParameter(const std::string& section, const std::string& name) {
    return call("GetParameter", {section, name});
  }
  // Without a trailing separator.
  std::string GetWebRootFolder() { return call("GetWebRootFolder", {}).to_text(); }
  void PrepareParameters(bool flag) { call("PrepareParameters", {flag}); }
  void PrepareConnections(bool flag) { call("PrepareConnections", {flag}); }
  std::string GetConnectionStringOf(const std::string& application) {
    return call("GetConnectionStringOf", {application}).to_text();
  }
  // Without a trailing separator.
  std::string GetInstallDir() { return call("GetInstallDir", {}).to_text(); }
};

class ReferentialChecker : public ComponentContract {
 public:
  ReferentialChecker() : ComponentContract("Grundwerk.ReferentialChecker") {}
  bool RunBeforeDelete(const std::string& owner, const Array& fields, const Array& values) {
    return call("RunBeforeDelete", {owner, fields, values}).to_boolean();
  }
  // True when every reference held by these values resolves.
  bool CheckReferences(const std::string& table, const Array& fields, const Array& values) {
    return call("CheckReferences", {"Mercato", table, fields, values}).to_boolean();
  }
  // True when nothing refers to the row named by these values.
  bool CheckBeforeDelete(const std::string& table, const Array& fields, const Array& values) {
    return call("CheckBeforeDelete", {"Mercato", table, fields, values}).to_boolean();
  }
};

}  // namespace grundwerk

namespace zentrik {

class User : public ComponentContract {
 public:
  User() : ComponentContract("Zentrik.User") {}
  bool BuyerCheckSecond(const std::string& user_id, const Variant& trimmed) {
    return call("BuyerCheckSecond", {user_id, trimmed}).to_boolean();
  }
  std::int32_t GetUserPropertyGroup(const std::string& user_id) {
    return call("GetUserPropertyGroup", {user_id}).to_long();
  }
  bool BuyerCheckFirst(const std::string& user_id) { return call("BuyerCheckFirst", {user_id}).to_boolean(); }
};

class Currency : public ComponentContract {
 public:
  Currency() : ComponentContract("Zentrik.Currency") {}
  mercato::Currency ConvertAmount(const std::string& source, const std::string& target, mercato::Currency amount,
                                  Date date) {
    return call("ConvertAmount", {source, target, amount, date}).to_currency();
  }
  // Currency code to description.
  DictionaryPtr GetAllCurrencies() { return call("GetAllCurrencies", {}).to<Dictionary>(); }
};

class BusinessPartner : public ComponentContract {
 public:
  BusinessPartner() : ComponentContract("Zentrik.BusinessPartner") {}
  // A number, -1 when there is no such partner.
  Variant GetBusinessPartnerID(const std::string& business_id) { return call("GetBusinessPartnerID", {business_id}); }
  // "" for a partner without one.
  std::string GetPartnerDefaultBuyer(const Variant& partner_id) {
    return call("GetPartnerDefaultBuyer", {partner_id}).to_text();
  }
};

}  // namespace zentrik

namespace bauteil {

// A paged recordset that runs its own statement and survives between page requests.
class DRecordset : public ComponentContract {
 public:
  // Creates one outside of any context.
  DRecordset();
  explicit DRecordset(ComponentPtr component) : ComponentContract("Bauteil.DRecordset", std::move(component)) {}
  void SetConnectionString(const std::string& text) { call("SetConnectionString", {text}); }
  void SetPersistedState(const std::string& state) { call("SetPersistedState", {state}); }
  void SetPageSize(std::int16_t rows) { call("SetPageSize", {rows}); }
  void Reset() { call("Reset", {}); }
  void SetSortFields(const std::string& fields) { call("SetSortFields", {fields}); }
  void OpenQuery(const std::string& statement, const std::string& key_fields) {
    call("OpenQuery", {statement, key_fields});
  }
  void RestoreState(std::int16_t position, const std::string& state) { call("RestoreState", {position, state}); }
};

// The web tier's page object.
class Page : public ComponentContract {
 public:
  explicit Page(ComponentPtr component) : ComponentContract("Bauteil.Page", std::move(component)) {}
  void RegisterConnection(const std::string& name) { call("RegisterConnection", {name}); }
  DRecordset GetDRecordset() { return DRecordset(call("GetDRecordset", {}).to<Component>()); }
  // Whether the page holds a position, and which.
  void GetSavedPosition(std::string& position, bool& flag);
};

}  // namespace bauteil

}  // namespace mercato
