// SPDX-License-Identifier: Apache-2.0
// What the shared library exports. Everything else in it is hidden.
#pragma once

#define MERCATO_API __attribute__((visibility("default")))
// On a type inside of an exported class, whose members would be exported with it.
#define MERCATO_INTERNAL __attribute__((visibility("hidden")))
