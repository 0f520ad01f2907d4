// Usage: startup_measure RUNS PROGRAM
//
// Prints the medians, over some runs of a program, of its processor time in milliseconds and its
// peak memory in megabytes. A program of its own, since a child's peak begins with the memory of
// the process that it was forked from.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

struct Usage {
  double milliseconds;
  double megabytes;
};

double milliseconds(const timeval& time) {
  return 1e3 * static_cast<double>(time.tv_sec) + 1e-3 * static_cast<double>(time.tv_usec);
}

Usage run(char* program) {
  const pid_t child = fork();
  if (child == 0) {
    char* const arguments[] = {program, nullptr};
    execv(program, arguments);
    _exit(127);
  }
  int status = 0;
  rusage usage = {};
  if (wait4(child, &status, 0, &usage) != child || status != 0) {
    std::fprintf(stderr, "startup_measure: %s failed\n", program);
    std::exit(1);
  }
  return {milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime),
          static_cast<double>(usage.ru_maxrss) / 1024};
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::vector<double> times;
  std::vector<double> peaks;
  for (int i = std::atoi(argv[1]); i > 0; --i) {
    const Usage usage = run(argv[2]);
    times.push_back(usage.milliseconds);
    peaks.push_back(usage.megabytes);
  }
  std::printf("%.3f %.3f\n", median(times), median(peaks));
}
