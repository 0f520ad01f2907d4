// Includes headers of the same names from its own project and from the library, and uses both.

#include "support/export.h"
#include "support/file.h"
#include "support/logging.h"

#include <calibration_common/camera_parameters.h>
#include <calibration_common/ptz_camera_model.h>
#include <camera_parameters/support/checks.h>
#include <camera_parameters/support/file.h>
#include <camera_parameters/support/logging.h>

#include <string>

PARENT_EXPORT int main() {
  const norv::calibration::CameraParametersSet cameras;
  norv::setLogLevel(nullptr, 0);
  std::string text;
  const bool found = norv::File::readFileToString("/no/such/file", &text);
  return parent::logging() == 1 && parent::file() == 2 && !found &&
                 cameras.getCamera("head_camera") != nullptr
             ? 0
             : 1;
}
