// SPDX-License-Identifier: Apache-2.0
// Bauteil.Page: through it a paged list of the web tier talks to the library. It knows the connection and the paged
// recordset of one list, and the position at which the list was left. One thread at a time.
#pragma once

#include <memory>
#include <string>

#include "collaborators/bauteil/drecordset.h"
#include "mercato/class_table.h"

namespace mercato::collaborators {

class Page : public ComponentOf<Page> {
 public:
  static const ClassTable& table();

  // Begins a list, with a new DRecordset. That reads from the connection that the settings in force have for the
  // application in the name, "Mercato" in "MercatoConnection".
  // Raises 5 when the name does not end in "Connection", and when that application has none.
  void RegisterConnection(const std::string& name);
  // The list's DRecordset, shared with the caller. Raises 91 before RegisterConnection.
  std::shared_ptr<DRecordset> GetDRecordset();
  // Fills in the position and whether there is one; the result says that too.
  Variant GetSavedPosition(std::string& position, bool& flag);
  // A text of DRecordset's PersistedState; the empty text takes the position away.
  void SetSavedPosition(const std::string& text);

 private:
  std::shared_ptr<DRecordset> rows_;
  std::string saved_position_;
};

}  // namespace mercato::collaborators
