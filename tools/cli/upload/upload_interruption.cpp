// SPDX-License-Identifier: Apache-2.0
#include "tools/cli/upload/upload_interruption.h"

namespace mercato::cli {
namespace {

volatile std::sig_atomic_t upload_interrupted = 0;
bool upload_watches = false;

void note_interruption(int) { upload_interrupted = 1; }

}  // namespace

UploadInterruption::UploadInterruption() : outermost_(!upload_watches) {
  if (!outermost_) return;
  upload_watches = true;
  upload_interrupted = 0;
  ::sigaction(SIGINT, nullptr, &before_);
  if (before_.sa_handler == SIG_IGN) return;
  struct sigaction action = {};
  action.sa_handler = note_interruption;
  action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
  ::sigaction(SIGINT, &action, nullptr);
}

UploadInterruption::~UploadInterruption() {
  if (!outermost_) return;
  ::sigaction(SIGINT, &before_, nullptr);
  upload_watches = false;
}

bool UploadInterruption::is_wanted() { return upload_interrupted != 0; }

}  // namespace mercato::cli
