// XML documents for the business classes: `xml::Document`, `xml::Node`, `xml::NodeList`.
#pragma once

#include "platform/xml/document.h"
