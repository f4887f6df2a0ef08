// What the shared library exports. Everything else in it is hidden.
#pragma once

#define MERCATO_API __attribute__((visibility("default")))
