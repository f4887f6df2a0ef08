// SPDX-License-Identifier: Apache-2.0
#include "mercato/reference_rules.h"

#include <mutex>
#include <utility>

namespace mercato::collaborators {
namespace {

struct RulesInForce {
  std::mutex guard;
  std::shared_ptr<const ReferenceRules> rules = std::make_shared<const ReferenceRules>(default_reference_rules());
};

RulesInForce& rules_in_force() {
  static RulesInForce instance;
  return instance;
}

}  // namespace

ReferenceRules default_reference_rules() {
  using enum KeyKind;
  using enum Checked;
  return {
      {
          {"PRODUCT", "BUSINESSPARTNERID", "BUSINESSPARTNER", "BUSINESSPARTNERID", number, before_write},
          {"PRODUCT", "USERID", "USERS", "USERID", text, before_write},
          {"PRODUCTBUYER", "USERID", "USERS", "USERID", text, before_write},
          {"PRODUCTBUYER", "PRODUCTID", "PRODUCT", "PRODUCTID", number, before_write, "Mercato.Product"},
          {"CATALOGPRODUCTPRICE", "CURRENCYCODE", "CURRENCY", "CURRENCYCODE", text, before_write},

          {"PRODUCT", "COMMODITYCODE", "COMMODITY", "COMMODITYCODE", text, before_delete},
          {"PRODUCT", "UNITCODE", "UNIT", "UNITCODE", text, before_delete},
          {"PRODUCTPROPVALUE", "PROPERTYID", "PROPERTY", "PROPERTYID", number, before_delete},
          {"PRODUCT", "PROPERTYGROUPID", "PROPERTYGROUP", "PROPERTYGROUPID", number, before_delete},
          {"COMMODITY", "PROPERTYGROUPID", "PROPERTYGROUP", "PROPERTYGROUPID", number, before_delete},
          {"USERS", "PROPERTYGROUPID", "PROPERTYGROUP", "PROPERTYGROUPID", number, before_delete},
          {"PRODUCT", "UNSPSCCODE", "UNSPSCCODES", "UNSPSCCODE", code, before_delete},
          {"PRODUCTCATEGORY", "UNSPSCCODE", "UNSPSCCODES", "UNSPSCCODE", code, before_delete},
          {"FAQISSUE", "PRODUCTCATEGORYID", "PRODUCTCATEGORY", "CATEGORYID", number, before_delete},
          {"FAQISSUE", "PRODUCTID", "PRODUCT", "PRODUCTID", number, before_delete},
      },
      {},
  };
}

std::shared_ptr<const ReferenceRules> reference_rules() {
  const std::lock_guard lock(rules_in_force().guard);
  return rules_in_force().rules;
}

void set_reference_rules(ReferenceRules rules) {
  auto next = std::make_shared<const ReferenceRules>(std::move(rules));
  const std::lock_guard lock(rules_in_force().guard);
  rules_in_force().rules = std::move(next);
}

}  // namespace mercato::collaborators
