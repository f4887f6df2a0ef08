// SPDX-License-Identifier: Apache-2.0
#include "mercato/contract.h"

#include "frame/lib_error_handling.h"

namespace mercato {
namespace {

[[noreturn]] void refuse() {
  Err_RaiseDeprecated("This method is depricated, Contract module is now not being used in Vorn");
}

}  // namespace

const ClassTable& Contract::table() {
  constexpr const char* kNothing = "nothing: contracts are not used any more";
  static const ClassTable table =
      ClassTable::of<Contract>("Mercato.Contract", "{6B1D9C52-7E0A-4C41-9E1B-2A54F0D3A10F}",
                               TransactionAttribute::undeclared)
          .method("Delete", &Contract::Delete, {"iContractCode", "iNumber"})
          .deprecated(kNothing)
          .method("Insert", &Contract::Insert, {"iContractCode", "iNumber", "iFields", "iValues"})
          .deprecated(kNothing)
          .method("Update", &Contract::Update, {"iContractCode", "iNumber", "iFields", "iValues"})
          .deprecated(kNothing)
          .method("PostToContract", &Contract::PostToContract,
                  {"iContractCode", "iNumber", "iAmount", "iCurrencyCode", "iClosedRequisition", "iDate"})
          .deprecated(kNothing)
          .method("GetAllContracts", &Contract::GetAllContracts)
          .deprecated(kNothing)
          .implements_referential_integrity(&Contract::IReferentialIntegrity_BeforeDelete,
                                            &Contract::IReferentialIntegrity_Exists);
  return table;
}

bool Contract::Delete(const std::string&, std::int16_t) { refuse(); }
bool Contract::Insert(const std::string&, std::int16_t, const Array&, const Array&) { refuse(); }
bool Contract::Update(const std::string&, std::int16_t, const Array&, const Array&) { refuse(); }
bool Contract::PostToContract(const std::string&, std::int16_t, Currency, const std::string&, bool, Date) { refuse(); }
DictionaryPtr Contract::GetAllContracts() { refuse(); }
bool Contract::IReferentialIntegrity_BeforeDelete(const Variant&, const Array&, const Array&) { refuse(); }
bool Contract::IReferentialIntegrity_Exists(const Variant&, const Array&, const Array&) { refuse(); }

}  // namespace mercato
