// What a business class is made of: `ComponentOf<Self>` and the `ClassTable` with which it describes itself.
#pragma once

#include "platform/automation/class_table.h"
