// SPDX-License-Identifier: Apache-2.0
// What an object of class PriceXML keeps, and the types that do its work.
#pragma once

#include <cstdint>
#include <string>

#include "mercato/date.h"
#include "mercato/price_xml.h"
#include "upload/price_reading.h"
#include "upload/price_validation.h"
#include "upload/upload_connections.h"

namespace mercato {

struct PriceXML::Parts {
  // What is asked of a product: without one the name is the empty text, and the id Null.
  enum class Wanted { name, id };
  Variant getProductNameOrID(const std::string& iBuyFromPartNr, Wanted wanted);

  // The way of the lines of one part number: read, judge, look up, write (price_upload.cpp). It takes them out of the
  // document, also those that break a rule; those of a part number without a product stay.
  void updateInsertPriceFromXMLFile2(const xml::Document& document, const std::string& iBuyFromPartNr);
  PriceLineOutcome write_price(std::int32_t product_id, Dictionary& price,
                               upload::PriceJudge::Findings* findings) const;

  upload::ReadConnection read_connection{Isolation::read_committed};
  upload::PriceReader reader;
  upload::PriceJudge judge;
  PriceUploadObserver* observer = nullptr;
};

}  // namespace mercato
