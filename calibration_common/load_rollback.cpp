#include "calibration_common/load_rollback.h"

namespace norv::internal {

LoadRollback::LoadRollback(Cameras* cameras, Message* message)
    : cameras_(cameras), message_(message), former_message_(*message) {
  former_cameras_.reserve(cameras->size());
  for (auto it = cameras->begin(); it != cameras->end(); ++it) {
    former_cameras_.emplace_back(it, it->second);
  }
}

LoadRollback::~LoadRollback() {
  if (std::uncaught_exceptions() > exceptions_) restore();
}

/// Both the map and the list of what was in it are in the order of the names.
void LoadRollback::restore() noexcept {
  auto former = former_cameras_.begin();
  for (auto it = cameras_->begin(); it != cameras_->end();) {
    if (former != former_cameras_.end() && former->first == it) {
      it->second = std::move(former->second);
      ++former;
      ++it;
    } else {
      it = cameras_->erase(it);
    }
  }
  *message_ = std::move(former_message_);
}

}  // namespace norv::internal
