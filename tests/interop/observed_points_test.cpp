#include "interop/observed_points.h"

#include <gtest/gtest.h>

namespace norv::interop {
namespace {

using calibration::PixelOrigin;
using PointLists = std::vector<std::vector<ObservedPoint>>;

/// Reads a table that is in order.
PointLists read(const std::string& table, const std::vector<std::string>& cameras,
                PixelOrigin origin = PixelOrigin::kImageCorner) {
  const auto reading = readObservedPoints({"points.csv", table}, cameras, origin);
  const auto* problem = std::get_if<FormatProblem>(&reading);
  EXPECT_EQ(problem, nullptr) << (problem == nullptr ? "" : describe(*problem));
  return problem == nullptr ? std::get<PointLists>(reading) : PointLists(cameras.size());
}

/// Why a table is refused.
std::string refusal(const std::string& table, const std::vector<std::string>& cameras = {"left"}) {
  const auto reading =
      readObservedPoints({"points.csv", table}, cameras, PixelOrigin::kImageCorner);
  const auto* problem = std::get_if<FormatProblem>(&reading);
  return problem == nullptr ? "" : describe(*problem);
}

void expectPoint(const ObservedPoint& point, const Eigen::Vector3d& position,
                 const Eigen::Vector2d& pixel) {
  EXPECT_EQ(point.position, position);
  EXPECT_EQ(point.pixel, pixel);
}

TEST(ObservedPoints, OneCameraNeedsNoColumn) {
  const PointLists lists = read("x,y,z,u,v\n1,2,3,4.5,5.5\n-1,+2e-3,.5,0,7\n", {"left"});
  ASSERT_EQ(lists.size(), 1U);
  ASSERT_EQ(lists[0].size(), 2U);
  expectPoint(lists[0][0], {1, 2, 3}, {4.5, 5.5});
  expectPoint(lists[0][1], {-1, 0.002, 0.5}, {0, 7});
}

TEST(ObservedPoints, ColumnsInAnyOrderForSeveralCameras) {
  const PointLists lists = read(
      "\xef\xbb\xbf"
      "v, u ,camera,z,y,x\r\n"
      "\r\n"
      "2,1,right,5,4,3\r\n"
      "7,6, \"a \"\"b\"\", c\" ,10,9,8\r\n"
      " \t\r\n"
      "12,11,right,15,14,13",
      {"a \"b\", c", "right", "third"});
  ASSERT_EQ(lists.size(), 3U);
  ASSERT_EQ(lists[0].size(), 1U);
  ASSERT_EQ(lists[1].size(), 2U);
  EXPECT_EQ(lists[2].size(), 0U);
  expectPoint(lists[0][0], {8, 9, 10}, {6, 7});
  expectPoint(lists[1][0], {3, 4, 5}, {1, 2});
  expectPoint(lists[1][1], {13, 14, 15}, {11, 12});
}

TEST(ObservedPoints, PixelsFromTheCentreOfTheFirst) {
  const PointLists lists = read("x,y,z,u,v\n1,2,3,4,5\n", {"left"}, PixelOrigin::kPixelCentre);
  ASSERT_EQ(lists[0].size(), 1U);
  expectPoint(lists[0][0], {1, 2, 3}, {4.5, 5.5});
}

TEST(ObservedPoints, HeadersThatAreRefused) {
  EXPECT_EQ(refusal(""), "points.csv: has no line that names its columns");
  EXPECT_EQ(refusal("\n  \n"), "points.csv: has no line that names its columns");
  EXPECT_EQ(refusal("\nx,y,z,u\n"), "points.csv:2:1: v: is missing among the columns");
  EXPECT_EQ(refusal("x,y,z,u,v, x\n"), "points.csv:1:12: x: is the name of a column before");
  EXPECT_EQ(refusal("x,y,z,u,v,w\n"),
            "points.csv:1:11: w: is none of the columns camera, x, y, z, u and v");
  EXPECT_EQ(refusal("1,2,3,4,5\n"),
            "points.csv:1:1: 1: is none of the columns camera, x, y, z, u and v");
  EXPECT_EQ(refusal("x,y,z,u,v\n", {"left", "right"}),
            "points.csv:1:1: camera: is missing among the columns, and there are 2 cameras");
}

TEST(ObservedPoints, LinesThatAreRefused) {
  const std::string header = "x,y,z,u,v,camera\n";
  EXPECT_EQ(refusal(header + "1,2,3,4,5\n"),
            "points.csv:2:1: has 5 values where the header names 6 columns");
  EXPECT_EQ(refusal(header + "1,2,3,4,5,left,\n"),
            "points.csv:2:1: has 7 values where the header names 6 columns");
  EXPECT_EQ(refusal(header + "1,2,3,4,5,left\n1,2,3, four,5,left\n"),
            "points.csv:3:8: u: is not a number: four");
  EXPECT_EQ(refusal(header + "1,2,,4,5,left\n"), "points.csv:2:5: z: is not a number: ");
  EXPECT_EQ(refusal(header + "nan,2,3,4,5,left\n"), "points.csv:2:1: x: is not finite: nan");
  EXPECT_EQ(refusal(header + "1,1e999,3,4,5,left\n"),
            "points.csv:2:3: y: exceeds the range of double: 1e999");
  EXPECT_EQ(refusal(header + "1,2,3,4,5,Left\n"),
            "points.csv:2:11: camera: is no imported camera: Left");
  EXPECT_EQ(refusal(header + "1,2,3,4,5,\"left\n"),
            "points.csv:2:11: a quote is not closed in its line");
  EXPECT_EQ(refusal(header + "1,2,3,4,\"5\"0,left\n"),
            "points.csv:2:9: a value goes on after its closing quote");
}

}  // namespace
}  // namespace norv::interop
