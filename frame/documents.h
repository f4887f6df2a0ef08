// SPDX-License-Identifier: Apache-2.0
// XML documents and their schemas for the business classes: `xml::Document`, `xml::Node`, `xml::NodeList`,
// `xml::Schema`.
#pragma once

#include "platform/xml/document.h"
#include "platform/xml/schema.h"
