// UNSPSC codes, writing half. Requires a transaction. Delete votes on it; an upload that succeeds does not vote, so its
// transaction ends with the object.
// One object serves one call at a time; nothing is kept between calls but the observer.
#pragma once

#include <functional>
#include <string>

#include "classification/unspsc_upload_observer.h"
#include "frame/business_class.h"
#include "frame/connection.h"
#include "values/dictionary.h"

namespace mercato {

class TUNSPSC : public ComponentOf<TUNSPSC> {
 public:
  static const ClassTable& table();

  // Deletes the row of a full code and returns true; votes commit. What stands below the code stays, with a parent that
  // is no more. Returns false, with nothing raised or logged and an abort vote, when something still refers to the
  // code. Raises eUNSPSCCodeNotFound, source "Mercato.UNSPSCCode.Delete", when there is no such code, with an abort
  // vote, logged under "Mercato.UNSPSCCode.Delete".
  bool Delete(std::string& iUNSPSCCode);

  // Load codes from a file: from the first sheet of a workbook, whose first row is a heading and whose first two
  // columns are code and description, or from the elements UNSPSC_ITEM of a document, of which the first two children
  // are (a comment is a child, too). sFile is a path, for a document also a URL. Items whose code is blank are passed
  // over.
  //
  // The result has an entry for each code that was refused, as read, with the reason as a 16-bit number (CodeOutcome);
  // of a code that was refused twice the first. A code goes in only behind the one above it. With bOverwrite a code
  // that exists gets the new description; with bUpdCommodity a code that was written goes into COMMODITY as well, as
  // read. A statement that fails is no failure: its code is refused. Only the call limit ends the call. No vote.
  //
  // UploadFromXLS raises eUnableToLoadXML, source "Mercato.UNSPSC.UploadFromXLS", unlogged and without a vote: "MS
  // Excel should be installed to upload from XLS" when there is no component that reads workbooks, "Unable to load XLS"
  // when it cannot read this one. 91 for a sheet without content, 6 for one that goes beyond row or column 32767, and
  // whatever fails later, are logged and raised under "Mercato.UNSPSC.UploadFromXLS" with an abort vote.
  DictionaryPtr UploadFromXLS(const std::string& sFile, bool bOverwrite, bool bUpdCommodity);
  // UploadFromXML raises eUnableToLoadXML, source "Mercato.UNSPSC.UploadFromXML", unlogged and without a vote: "Unable
  // to load XML" for what is no document, "Schema not found" when the installation has no readable schema, and the
  // schema's own words for a document that fails it. Whatever fails later, an item without a child for one, is logged
  // and raised under "Mercato.UNSPSC.UploadFromXML" with an abort vote.
  DictionaryPtr UploadFromXML(const std::string& sFile, bool bOverwrite, bool bUpdCommodity);

  // True at every call; votes commit.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  // False, with a commit vote, unless UNSPSCCODES (in any case), the name of the table, is among the fields. If it is,
  // the question goes to the store in words that no store understands: logged and raised under
  // "Mercato.UNSPSCCode.Exists" with an abort vote.
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

  // For hosts in C++: who is told of each code of an upload. Must outlive the uploads; null for nobody.
  void set_observer(UnspscUploadObserver* observer) { observer_ = observer; }

 private:
  struct Wishes {
    bool overwrite;
    bool commodities;
  };
  // Writes one pair and notes its refusal.
  void upload_code(const ConnectionPtr& connection, std::size_t item, const std::string& code,
                   const std::string& description, Wishes wishes, Dictionary& refusals);
  CodeOutcome UploadCodeRow(const ConnectionPtr& connection, const std::string& code, const std::string& description,
                            Wishes wishes);
  void tell(const std::function<void(UnspscUploadObserver&)>& news);

  UnspscUploadObserver* observer_ = nullptr;
};

}  // namespace mercato
