// SPDX-License-Identifier: Apache-2.0
// The OpenRPC document says what the gateway does.
#include "tools/gateway/openrpc.h"

#include <gtest/gtest.h>

#include <set>

#include "mercato/server.h"
#include "tools/gateway/gateway_session.h"

namespace mercato::gateway {
namespace {

// Every reference in the document, wherever it stands.
void collect_references(const Json& json, std::set<std::string>& references) {
  if (json.is_object() && json.contains("$ref")) references.insert(json.at("$ref").get<std::string>());
  if (json.is_structured())
    for (const Json& each : json) collect_references(each, references);
}

TEST(OpenRpc, NamesMethodsAndParametersThatTheGatewayHasAndSchemasThatAreThere) {
  ASSERT_EQ(DllRegisterServer(), kOk);
  const Json document = openrpc("1.0");
  Session session({});
  std::set<std::string> names;
  for (const Json& method : document.at("methods")) {
    const std::string name = method.at("name");
    SCOPED_TRACE(name);
    EXPECT_TRUE(names.insert(name).second);
    EXPECT_NE(method.at("description"), "");
    if (name.starts_with("Mercato.")) continue;
    // With a parameter that nobody knows a method is refused before it does anything; with those that it has it is not.
    for (const Json& parameter : method.at("params")) {
      const JsonInput given = {{parameter.at("name").get<std::string>(), nullptr}, {"unknown", 1}};
      try {
        session.perform(name, given);
        ADD_FAILURE() << "an unknown parameter was taken";
      } catch (const RpcError& error) {
        EXPECT_EQ(error.message(), "There is no parameter \"unknown\"");
      }
    }
  }
  EXPECT_EQ(names.size(), 8u + 218u);
  EXPECT_TRUE(names.contains("Mercato.Product.GetGTIN"));
  EXPECT_TRUE(names.contains("Mercato.TUnit.IReferentialIntegrity_Exists"));
  std::set<std::string> references;
  collect_references(document, references);
  EXPECT_GE(references.size(), 14u);
  for (const std::string& reference : references)
    EXPECT_TRUE(document.contains(Json::json_pointer(reference.substr(1)))) << reference;
}

TEST(OpenRpc, DescribesAMethodOfAClass) {
  ASSERT_EQ(DllRegisterServer(), kOk);
  const Json document = openrpc("1.0");
  for (const Json& method : document.at("methods"))
    if (method.at("name") == "Mercato.Unit.Delete") {
      EXPECT_EQ(method.at("deprecated"), true);
      EXPECT_EQ(method.at("params").dump(),
                R"([{"name":"iUnitCode","description":"unit code","required":true,"schema":{"type":"string"}}])");
      EXPECT_EQ(method.at("result").at("schema").at("properties").at("value").dump(), R"({"type":"boolean"})");
      return;
    }
  ADD_FAILURE() << "the method is not there";
}

}  // namespace
}  // namespace mercato::gateway
