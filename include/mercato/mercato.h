// SPDX-License-Identifier: Apache-2.0
/// @namespace mercato
/// The library. A host registers its classes once (server.h), sets which store they work on (settings.h), makes
/// objects (`Root<T>` in object_context.h) and calls them. This header includes all others.
///
/// Objects, connections and recordsets serve one thread at a time; any number of threads may work side by side, each
/// with its own. Whatever fails is raised as one exception, `Raised`, whose numbers are in raised_error.h and
/// mercato_errors.h.
#pragma once

#include "mercato/by_name.h"
#include "mercato/catalog.h"
#include "mercato/class_table.h"
#include "mercato/clock.h"
#include "mercato/collection.h"
#include "mercato/component.h"
#include "mercato/connection.h"
#include "mercato/contract.h"
#include "mercato/currency.h"
#include "mercato/date.h"
#include "mercato/dictionary.h"
#include "mercato/export.h"
#include "mercato/faqlist.h"
#include "mercato/hazardous_class.h"
#include "mercato/invoke.h"
#include "mercato/mercato_errors.h"
#include "mercato/object.h"
#include "mercato/object_context.h"
#include "mercato/price_xml.h"
#include "mercato/product.h"
#include "mercato/product_xml.h"
#include "mercato/property.h"
#include "mercato/property_group.h"
#include "mercato/r_property_group.h"
#include "mercato/raised_error.h"
#include "mercato/recordset.h"
#include "mercato/reference_rules.h"
#include "mercato/registry.h"
#include "mercato/search.h"
#include "mercato/server.h"
#include "mercato/settings.h"
#include "mercato/statement.h"
#include "mercato/t_catalog.h"
#include "mercato/t_hazardous_class.h"
#include "mercato/t_unit.h"
#include "mercato/t_unspsc.h"
#include "mercato/table_creation.h"
#include "mercato/unit.h"
#include "mercato/unspsc.h"
#include "mercato/unspsc_upload_observer.h"
#include "mercato/upload_observer.h"
#include "mercato/variant.h"
#include "mercato/version.h"
