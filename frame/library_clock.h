// The library's clock for the business classes: `clock::now`, `clock::seconds_of_day`.
#pragma once

#include "platform/clock/clock.h"
