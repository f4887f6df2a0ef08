// Shared by the files of class ProductXML: product_reading.cpp (documents to dictionaries), product_validation.cpp
// (judging and repairing them), product_upload.cpp (the calls that write, record by record), product_row_writing.cpp
// (PRODUCT and its buyers), product_properties.cpp (PROPERTY and PRODUCTPROPVALUE).
#pragma once

#include <string>
#include <string_view>

#include "frame/lib_general.h"
#include "frame/lib_sql.h"
#include "frame/method.h"
#include "upload/product_xml.h"
#include "upload/upload_documents.h"

namespace mercato {
namespace upload {

inline constexpr std::string_view kSeparatorKey = "MULTIPLEBUYERSEPARATOR";

}  // namespace upload

// Collects what becomes of one record, and tells the observer when the record has ended, however it did.
class ProductXML::RecordReport {
 public:
  RecordReport(ProductXML& upload, const std::string& part_number) : upload_(upload) {
    if (!upload_.observer_) return;
    record_.part_number = part_number;
    upload_.record_ = &record_;
  }
  ~RecordReport() {
    if (!upload_.record_) return;
    upload_.record_ = nullptr;
    upload::tell(upload_.observer_, [&](UploadObserver& observer) { observer.on_record(record_); });
  }
  RecordReport(const RecordReport&) = delete;
  RecordReport& operator=(const RecordReport&) = delete;

  void ended(UploadOutcome outcome) { record_.outcome = outcome; }

 private:
  ProductXML& upload_;
  UploadRecord record_;
};

}  // namespace mercato
