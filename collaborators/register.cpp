// SPDX-License-Identifier: Apache-2.0
#include "collaborators/register.h"

#include "collaborators/bauteil/drecordset.h"
#include "collaborators/bauteil/page.h"
#include "collaborators/grundwerk/configuration.h"
#include "collaborators/grundwerk/log.h"
#include "collaborators/grundwerk/referential_checker.h"
#include "collaborators/spreadsheet/reader.h"
#include "collaborators/zentrik/business_partner.h"
#include "collaborators/zentrik/currency_rates.h"
#include "collaborators/zentrik/user.h"

namespace mercato::collaborators {

std::span<const ClassTable* const> collaborator_classes() {
  static const ClassTable* const kClasses[] = {
      &Log::table(),        &Configuration::table(), &ReferentialChecker::table(),
      &User::table(),       &Currency::table(),      &BusinessPartner::table(),
      &DRecordset::table(), &Page::table(),          &SpreadsheetReader::table(),
  };
  return kClasses;
}

}  // namespace mercato::collaborators
