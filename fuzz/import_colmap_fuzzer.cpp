// COLMAP's cameras.txt alone or, behind a line of its own, its images.txt too.

#include <string>
#include <variant>

#include "fuzz/fuzz_readings.h"
#include "fuzz/fuzz_support.h"
#include "fuzz/fuzz_writings.h"

namespace {

using norv::interop::FormatProblem;
using norv::interop::PeerFile;
using norv::interop::PeerReading;
using norv::interop::SourceFile;

const std::string kSeparator = "\n----\n";

void readBoth(const SourceFile& cameras, const SourceFile& images) {
  const PeerReading reading =
      norv::interop::readColmap(cameras, images, norv::fuzz::optionsFor(images.contents));
  const auto* const problem = std::get_if<FormatProblem>(&reading);
  const bool is_of_cameras = problem != nullptr && problem->file == cameras.name;
  norv::fuzz::require(problem == nullptr || is_of_cameras || problem->file == images.name,
                      "a refusal is of one of the files");
  norv::fuzz::requireSound(reading, is_of_cameras ? cameras.contents : images.contents);
  const auto* const file = std::get_if<PeerFile>(&reading);
  if (file != nullptr) norv::fuzz::requireRoundTrip(*file, norv::interop::PeerFormat::kColmap);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = norv::fuzz::asString(data, size);
  const std::size_t end = text.find(kSeparator);
  if (end == std::string::npos) {
    norv::fuzz::requireSoundReading(text, norv::interop::PeerFormat::kColmap);
  } else {
    readBoth({"cameras.txt", text.substr(0, end + 1)},
             {"images.txt", text.substr(end + kSeparator.size())});
  }
  return 0;
}
