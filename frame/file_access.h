// SPDX-License-Identifier: Apache-2.0
// Files, folders and paths for the business classes: `files::host_path`, `files::create_folder` and so on.
#pragma once

#include "platform/files/files.h"
#include "platform/files/paths.h"
