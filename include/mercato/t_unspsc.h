// SPDX-License-Identifier: Apache-2.0
// UNSPSC codes, writing half: class Mercato.TUNSPSC. unspsc_code.h says how a code is made up.
#pragma once

#include <functional>
#include <string>

#include "mercato/class_table.h"
#include "mercato/connection.h"
#include "mercato/dictionary.h"
#include "mercato/export.h"
#include "mercato/unspsc_upload_observer.h"

namespace mercato {

/// UNSPSC codes, writing half. Requires a transaction.
///
/// Delete votes on the transaction. An upload that succeeds casts no vote, so its transaction ends with the object.
///
/// An object serves one call at a time and keeps nothing between calls but the observer.
class MERCATO_API TUNSPSC : public ComponentOf<TUNSPSC> {
 public:
  /// The class as it describes itself: ProgID, class id, methods and their arguments.
  static const ClassTable& table();

  /// Deletes the row of a code; true, with a commit vote. Blanks around the code do not count. Codes below it stay,
  /// with a parent that is no more. False, with an abort vote and nothing raised or logged, when the reference checker
  /// refuses. Quotes in the last two characters are not doubled: the store refuses them.
  ///
  /// Raises eUNSPSCCodeNotFound, source "Mercato.UNSPSCCode.Delete", for an unknown code, 6 for more than 32,767
  /// deleted rows, which takes a table without its key, and what the store and the checker raise. A failure votes abort
  /// and is logged and raised under "Mercato.UNSPSCCode.Delete". A refused or failed delete changes nothing.
  bool Delete(std::string& iUNSPSCCode);

  /// Loads codes from the first sheet of a workbook: below a heading, code and description in the first two columns.
  /// Rows whose code is blank are passed over. `sFile` is a path.
  ///
  /// A code is written only when the code above it is there. With `bOverwrite` a code that is there gets the new
  /// description. With `bUpdCommodity` a code that was written is written to COMMODITY, too, as it was read.
  ///
  /// The result has an entry for each code that was refused: the code as it was read, to the reason as a 16-bit number
  /// (CodeOutcome). Of a code that was refused twice the first reason counts. A statement that fails is no failure: its
  /// code is refused. The call limit (0x80040E31) and want of memory (7) end the call all the same. Casts no vote.
  ///
  /// Raises eUnableToLoadXML, source "Mercato.UNSPSC.UploadFromXLS", unlogged and without a vote: "MS Excel should be
  /// installed to upload from XLS" when no component reads workbooks, "Unable to load XLS" when it cannot read this
  /// one. Raises 91 for a sheet without content, 6 for one that goes beyond row or column 32,767. These, and whatever
  /// fails later, vote abort and are logged and raised under "Mercato.UNSPSC.UploadFromXLS".
  DictionaryPtr UploadFromXLS(const std::string& sFile, bool bOverwrite, bool bUpdCommodity);

  /// Loads codes from the elements UNSPSC_ITEM of a document, at any depth: their first two children, comments among
  /// them, are code and description. `sFile` is a path or a URL. All else is as in UploadFromXLS.
  ///
  /// Raises eUnableToLoadXML, source "Mercato.UNSPSC.UploadFromXML", unlogged and without a vote: "Unable to load XML"
  /// for what is no document, "Schema not found" when the installation has no schema that can be read, and the schema's
  /// own words for a document that does not fit it. Whatever fails later, an item without children say, votes abort and
  /// is logged and raised under "Mercato.UNSPSC.UploadFromXML".
  DictionaryPtr UploadFromXML(const std::string& sFile, bool bOverwrite, bool bUpdCommodity);

  /// True at every call, with a commit vote. Asks nobody.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

  /// False, with a commit vote, unless UNSPSCCODES (the name of the table, in any case) is among the fields. If it is,
  /// the store is asked in words that no store understands, and refuses them: 0x80040E14. Raises 5 for a code of fewer
  /// than two characters. A failure votes abort and is logged and raised under "Mercato.UNSPSCCode.Exists".
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

  /// For hosts in C++: says who is told of each code of an upload. The observer must outlive the uploads; null for
  /// nobody.
  void set_observer(UnspscUploadObserver* observer) { observer_ = observer; }

 private:
  struct Wishes {
    bool overwrite;
    bool commodities;
  };
  // Writes one code, notes its refusal and tells the observer.
  void upload_code(const ConnectionPtr& connection, std::size_t item, const std::string& code,
                   const std::string& description, Wishes wishes, Dictionary& refusals);
  CodeOutcome UploadCodeRow(const ConnectionPtr& connection, const std::string& code, const std::string& description,
                            Wishes wishes);
  void tell(const std::function<void(UnspscUploadObserver&)>& news);
  bool is_cancelled();

  UnspscUploadObserver* observer_ = nullptr;
};

}  // namespace mercato
