// SPDX-License-Identifier: Apache-2.0
// Contracts, class Mercato.Contract, which is retired.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/class_table.h"
#include "mercato/dictionary.h"
#include "mercato/export.h"

namespace mercato {

/// Contracts, retired. The interface stays so that old callers fail with a clear message; nothing takes its place.
///
/// Every method logs and raises -1, with "This method is depricated, Contract module is now not being used in Vorn" in
/// the place of the label. None asks the store, casts a vote or reads its arguments.
class MERCATO_API Contract : public ComponentOf<Contract> {
 public:
  /// The class as it describes itself: ProgID, class id, methods and their arguments.
  static const ClassTable& table();

  /// Retired: raises -1 at every call.
  bool Delete(const std::string& iContractCode, std::int16_t iNumber);
  /// Retired: raises -1 at every call.
  bool Insert(const std::string& iContractCode, std::int16_t iNumber, const Array& iFields, const Array& iValues);
  /// Retired: raises -1 at every call.
  bool Update(const std::string& iContractCode, std::int16_t iNumber, const Array& iFields, const Array& iValues);
  /// Retired: raises -1 at every call.
  bool PostToContract(const std::string& iContractCode, std::int16_t iNumber, Currency iAmount,
                      const std::string& iCurrencyCode, bool iClosedRequisition, Date iDate);
  /// Retired: raises -1 at every call.
  DictionaryPtr GetAllContracts();
  /// Retired: raises -1 at every call.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  /// Retired: raises -1 at every call.
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
};

}  // namespace mercato
