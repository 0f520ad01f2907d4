#include "python/bindings/base_fields.h"

#include <cmath>
#include <cstdint>
#include <string>

#include "python/bindings/arrays.h"
#include "python/bindings/errors.h"
#include "python/bindings/numbers.h"

namespace norv::python {
namespace {

using calibration::BaseCalibrationData;
using calibration::BaseCalibrationProto;
using calibration::CalibrationMetadataProto;

py::object textOrNone(bool is_there, const std::string& text) {
  return is_there ? py::object(toText(text)) : py::none();
}

py::object metadataClass() {
  return py::module_::import("camera_parameters._metadata").attr("CalibrationMetadata");
}

py::object metadataFrom(const CalibrationMetadataProto& message) {
  return metadataClass()(message.has_calibration_time()
                             ? py::object(py::int_(message.calibration_time()))
                             : py::none(),
                         textOrNone(message.has_gain_validity_key(), message.gain_validity_key()),
                         textOrNone(message.has_validity_key(), message.validity_key()),
                         textOrNone(message.has_tool_version(), message.tool_version()),
                         textOrNone(message.has_operator_note(), message.operator_note()));
}

/// Of a CalibrationMetadata; an empty message of None.
CalibrationMetadataProto metadataOf(const py::handle& metadata) {
  CalibrationMetadataProto message;
  if (metadata.is_none()) return message;
  if (!py::isinstance(metadata, metadataClass())) {
    throw py::type_error("metadata: expected a CalibrationMetadata or None");
  }
  const auto take = [&](const char* name, const char* expected, const auto& set) {
    const py::object value = metadata.attr(name);
    try {
      if (!value.is_none()) set(value);
    } catch (const py::cast_error&) {
      throw py::type_error(std::string("metadata.") + name + ": expected " + expected +
                           " or None, got " + py::repr(value).cast<std::string>());
    }
  };
  take("calibration_time_ns", "an int of 64 bits",
       [&](const py::object& value) { message.set_calibration_time(value.cast<std::int64_t>()); });
  take("gain_validity_key", "a str",
       [&](const py::object& value) { message.set_gain_validity_key(value.cast<std::string>()); });
  take("validity_key", "a str",
       [&](const py::object& value) { message.set_validity_key(value.cast<std::string>()); });
  take("tool_version", "a str",
       [&](const py::object& value) { message.set_tool_version(value.cast<std::string>()); });
  take("operator_note", "a str",
       [&](const py::object& value) { message.set_operator_note(value.cast<std::string>()); });
  return message;
}
BaseCalibrationProto messageOf(const Base& base) {
  return base.lock->read([&] { return base.data->getCalibration(); });
}

void setGlobalTransform(Base& base, const py::handle& rotation, const py::handle& translation,
                        const py::handle& metadata) {
  const auto r = takeArray<float>(rotation, "rotation", {3, 3});
  const auto t = takeArray<float>(translation, "translation", {3});
  const Matrix3x3_f matrix =
      Eigen::Map<const Eigen::Matrix<float, 3, 3, Eigen::RowMajor>>(r.data());
  const Vector3_f vector = Eigen::Map<const Vector3_f>(t.data());
  const auto message = metadataOf(metadata);
  base.lock->change([&] { base.data->setGlobalTransform(matrix, vector, message); });
}

/// A float of the calibration, which is infinite or NaN where the caller's number is.
float takeFloat(const py::handle& object, const char* name) {
  const double number = takeNumber(object, name);
  const auto rounded = static_cast<float>(number);
  if (std::isfinite(rounded) || !std::isfinite(number)) return rounded;
  throw py::value_error(std::string(name) + ": expected a number within the range of float32");
}

void setGyroscopeGain(Base& base, const py::handle& number, const py::handle& metadata) {
  calibration::GyroscopeCalibrationProto gyroscope;
  gyroscope.set_gain(takeFloat(number, "gain"));
  if (!metadata.is_none()) *gyroscope.mutable_metadata() = metadataOf(metadata);
  base.lock->change([&] { base.data->setGyroscopeGain(gyroscope); });
}

py::object globalTransformMetadata(const Base& base) {
  const BaseCalibrationProto message = messageOf(base);
  const auto& adjustment = message.global_transform_adjustment();
  return adjustment.has_metadata() ? metadataFrom(adjustment.metadata()) : py::none();
}

py::object gyroscopeMetadata(const Base& base) {
  const BaseCalibrationProto message = messageOf(base);
  const auto& gyroscope = message.gyroscope();
  return gyroscope.has_metadata() ? metadataFrom(gyroscope.metadata()) : py::none();
}

using Getter = float (BaseCalibrationData::*)() const;
using Setter = void (BaseCalibrationData::*)(float);

auto getter(Getter get) {
  return [get](const Base& base) { return base.lock->read([&] { return (*base.data.*get)(); }); };
}

auto setter(const char* name, Setter set) {
  return [name, set](Base& base, const py::object& number) {
    const float metres = takeFloat(number, name);
    base.lock->change([&] { (*base.data.*set)(metres); });
  };
}

void bindTransform(py::class_<Base>* base) {
  base->def_property_readonly(
          "world_rotation",
          [](const Base& self) {
            return constantArray(self.lock->read([&] { return self.data->getWorldRotation(); }));
          },
          "Rotation W of the global transform, (3, 3) float32; read-only.")
      .def_property_readonly(
          "world_translation",
          [](const Base& self) {
            return constantArray(self.lock->read([&] { return self.data->getWorldTranslation(); }));
          },
          "Translation b of the global transform, (3,) float32, metres; read-only.")
      .def_property_readonly("global_transform_metadata", &globalTransformMetadata,
                             "CalibrationMetadata of the global transform, or None.")
      .def(
          "set_global_transform", &setGlobalTransform, py::arg("rotation"), py::arg("translation"),
          py::arg("metadata") = py::none(),
          R"(Stores a global transform: rotation (3, 3), as it is and not made rigid, and translation (3,), metres.

`metadata` is a CalibrationMetadata of its calibration; without it what is stored is empty.

>>> import camera_parameters as cp, numpy
>>> base = cp.BaseCalibrationData()
>>> base.set_global_transform(numpy.eye(3), [0.5, 0, 0], cp.CalibrationMetadata(validity_key="dock"))
>>> base.world_translation.tolist(), base.is_global_transform_calibration_valid("dock")
([0.5, 0.0, 0.0], True)
)")
      .def(
          "is_global_transform_calibration_valid",
          [](const Base& self, const std::string& key) {
            return self.lock->read(
                [&] { return self.data->isGlobalTransformCalibrationValid(key); });
          },
          py::arg("key"),
          R"(Whether the global transform's `validity_key` is exactly `key`; without metadata it is empty.

>>> import camera_parameters as cp
>>> cp.BaseCalibrationData().is_global_transform_calibration_valid("default-base")
True
)");
}

void bindGyroscope(py::class_<Base>* base) {
  base->def_property_readonly("gyroscope_gain", getter(&BaseCalibrationData::getGyroscopeGain),
                              "Factor on the gyroscope's rate, no unit; 0 where there is none.")
      .def_property_readonly("gyroscope_metadata", &gyroscopeMetadata,
                             "CalibrationMetadata of the gyroscope's gain, or None.")
      .def(
          "set_gyroscope_gain", &setGyroscopeGain, py::arg("gain"),
          py::arg("metadata") = py::none(),
          R"(Replaces the gyroscope's calibration: its gain, no unit, and CalibrationMetadata or None.

>>> import camera_parameters as cp
>>> base = cp.BaseCalibrationData()
>>> base.set_gyroscope_gain(1.5)
>>> base.gyroscope_gain, base.gyroscope_metadata
(1.5, None)
)")
      .def(
          "is_gyroscope_gain_calibration_valid",
          [](const Base& self, const std::string& key) {
            return self.lock->read([&] { return self.data->isGyroscopeGainCalibrationValid(key); });
          },
          py::arg("key"),
          R"(Whether the gyroscope has metadata whose `gain_validity_key` is exactly `key`.

>>> import camera_parameters as cp
>>> cp.BaseCalibrationData().is_gyroscope_gain_calibration_valid("")
False
)");
}

}  // namespace

void bindBaseFields(py::class_<Base>* base) {
  bindTransform(base);
  bindGyroscope(base);
  base->def_property("wheel_base", getter(&BaseCalibrationData::getWheelBase),
                     setter("wheel_base", &BaseCalibrationData::setWheelBase),
                     "Distance between the wheels, metres; 0 where there is none. Not checked.")
      .def_property("base_width", getter(&BaseCalibrationData::getBaseWidth),
                    setter("base_width", &BaseCalibrationData::setBaseWidth),
                    "Width of the base, metres; 0 where there is none. Not checked.")
      .def_property("base_length", getter(&BaseCalibrationData::getBaseLength),
                    setter("base_length", &BaseCalibrationData::setBaseLength),
                    "Length of the base, metres; 0 where there is none. Not checked.");
}

}  // namespace norv::python
