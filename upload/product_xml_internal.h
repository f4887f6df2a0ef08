// SPDX-License-Identifier: Apache-2.0
// What an object of class ProductXML keeps, and the types that do its work.
#pragma once

#include <string>

#include "mercato/product_xml.h"
#include "upload/product_reading.h"
#include "upload/product_repair.h"
#include "upload/product_validation.h"
#include "upload/product_writing.h"

namespace mercato {

struct ProductXML::Parts {
  enum class Branch { insert_or_update, update_only };

  // The way of one record: read, repair, decide, split, write (product_upload.cpp). The form that ends in 2 takes it
  // out of a loaded document.
  bool updateInsertProductFromXML(const std::string& iStringOrUrl, bool iIsUrl, const std::string& iBuyFromPartNr,
                                  bool iUpdateOnErrors, Branch branch);
  void updateInsertProductFromXML2(const xml::Document& document, const std::string& iBuyFromPartNr,
                                   bool iUpdateOnErrors);
  UploadOutcome write_record(Dictionary& values, bool exists, const std::string& iBuyFromPartNr, bool iUpdateOnErrors,
                             UploadRecord* told);

  BuyerSeparator separator;
  upload::ReadConnection read_connection{Isolation::store_default};
  upload::ReferenceData known{read_connection};
  upload::ProductReader reader{separator};
  upload::ProductJudge judge{known, separator};
  upload::ProductRepairer repairer{known, separator};
  upload::ProductWriter writer{read_connection, known, separator};
  UploadObserver* observer = nullptr;
};

}  // namespace mercato
