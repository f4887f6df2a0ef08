// SPDX-License-Identifier: Apache-2.0
#include "collaborators/zentrik/user.h"

#include "collaborators/query.h"
#include "frame/lib_general.h"

namespace mercato::collaborators {

const ClassTable& User::table() {
  static const ClassTable table =
      ClassTable::of<User>("Zentrik.User", "{D3A71C40-5E86-4B29-B7F2-04C81E96A5D3}", TransactionAttribute::undeclared)
          .collaborator()
          .never_waits()
          .method("BuyerCheckSecond", &User::BuyerCheckSecond, {"user_id", "trimmed"})
          .method("GetUserPropertyGroup", &User::GetUserPropertyGroup, {"user_id"})
          .method("BuyerCheckFirst", &User::BuyerCheckFirst, {"user_id"});
  return table;
}

bool User::BuyerCheckSecond(const std::string&, const Variant& trimmed) {
  const Sql sql = Sql("SELECT USERID FROM USERS WHERE USERID = N'")
                  << value(Gen_QuoteSql(trimmed.to_text())) << "' AND ISBUYER = 1";
  return !Query(sql)->Eof();
}

std::int32_t User::GetUserPropertyGroup(const std::string& user_id) {
  const Sql sql = Sql("SELECT PROPERTYGROUPID FROM USERS WHERE USERID = N'")
                  << value(Gen_QuoteSql(user_id)) << "' AND PROPERTYGROUPID IS NOT NULL";
  const Query user(sql);
  return user->Eof() ? 0 : user->Value("PROPERTYGROUPID").to_long();
}

bool User::BuyerCheckFirst(const std::string& user_id) {
  const Sql sql = Sql("SELECT USERID FROM USERS WHERE USERID = N'")
                  << value(Gen_QuoteSql(user_id)) << "' AND ISACTIVE = 1";
  return !Query(sql)->Eof();
}

}  // namespace mercato::collaborators
