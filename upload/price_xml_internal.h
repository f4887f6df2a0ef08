// Shared by the files of class PriceXML: price_reading.cpp (documents to dictionaries), price_validation.cpp (judging
// them), price_upload.cpp (the upload, line by line).
#pragma once

#include <string>

#include "frame/lib_general.h"
#include "frame/lib_sql.h"
#include "frame/method.h"
#include "upload/price_xml.h"
#include "upload/upload_documents.h"

namespace mercato::upload {

// The one price: field name, as it is written, to text. Raises 457 for a field that stands twice.
DictionaryPtr price_of(const xml::NodeList& fields);

// The key of a price among those of its part number, from 1.
std::string price_key(std::size_t number);

}  // namespace mercato::upload
