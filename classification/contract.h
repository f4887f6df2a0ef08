// Contracts, retired: the interface stays so that old callers fail with a clear message. Every call logs and raises -1,
// with "This method is depricated, Contract module is now not being used in Vorn" in the place of the method. Nothing
// takes its place.
#pragma once

#include <cstdint>
#include <string>

#include "frame/business_class.h"
#include "values/dictionary.h"

namespace mercato {

class Contract : public ComponentOf<Contract> {
 public:
  static const ClassTable& table();

  bool Delete(const std::string& iContractCode, std::int16_t iNumber);
  bool Insert(const std::string& iContractCode, std::int16_t iNumber, const Array& iFields, const Array& iValues);
  bool Update(const std::string& iContractCode, std::int16_t iNumber, const Array& iFields, const Array& iValues);
  bool PostToContract(const std::string& iContractCode, std::int16_t iNumber, Currency iAmount,
                      const std::string& iCurrencyCode, bool iClosedRequisition, Date iDate);
  DictionaryPtr GetAllContracts();
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
};

}  // namespace mercato
