#pragma once

/// Stored messages as what Python programs keep and exchange. The generated classes of Protocol
/// Buffers for Python stay out of it: other packages may bring other copies of them.

#include <google/protobuf/message.h>
#include <pybind11/pybind11.h>

#include <string>

namespace norv::python {

/// The binary form; fields that this version does not know are kept. Inverse: parsing.
pybind11::bytes toBytes(const google::protobuf::Message& message);

/// The text form (`printText`). Throws CalibrationError that names the fields which text cannot
/// hold.
pybind11::str toPrintedText(const google::protobuf::Message& message);

/// Protocol Buffers' JSON mapping under the fields' own names: 64-bit integers are strings, and
/// what is no finite number is "NaN", "Infinity" or "-Infinity". Inverse: `bytesOfDict`.
pybind11::object toDict(const google::protobuf::Message& message);

/// The binary form of a message of the prototype's type that `dict` describes. Throws TypeError
/// where it is no dict or Python's json has no words for what it holds, and CalibrationError, with
/// the field, where it is no such message, or nested too deep. Floats that are no finite numbers
/// are taken as the mapping writes them.
std::string bytesOfDict(const pybind11::handle& dict, const google::protobuf::Message& prototype);

/// The bytes of a text that loads read as the text, for which a few others would be taken: those
/// that happen to be a binary message. Throws CalibrationError where the text cannot be read as the
/// prototype's type and loads would not say so.
std::string bytesOfText(const pybind11::handle& text, const google::protobuf::Message& prototype);

/// Throws a CalibrationError again, about the text's first character where it has no place.
[[noreturn]] void throwWithPlace(pybind11::error_already_set& error);

/// What `load(bytes)` makes of a text; what it throws has a place. See `bytesOfText`.
template <class Load>
auto loadedText(const pybind11::handle& text, const google::protobuf::Message& prototype,
                const Load& load) {
  try {
    return load(bytesOfText(text, prototype));
  } catch (pybind11::error_already_set& error) {
    throwWithPlace(error);
  }
}

/// The bytes of bytes, a bytearray, a memoryview or the like. Throws TypeError for others.
std::string takeBytes(const pybind11::handle& data);

}  // namespace norv::python
