// Runs a system tool on bytes written to a temporary file and captures its standard output, so
// tests can compare the library with independent implementations (coreutils, gzip).
#pragma once

#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <string_view>

namespace OlmaTest {

// Runs `command < file holding input`; returns the exit code (-1 if it could not run) and stdout.
inline std::pair<int, std::string> RunTool(const std::string& command, std::string_view input) {
  std::pair<int, std::string> result{-1, ""};
  char path[] = "/tmp/olma_tool_XXXXXX";
  const int fd = mkstemp(path);
  if (fd < 0) return result;
  const bool written = write(fd, input.data(), input.size()) == static_cast<ssize_t>(input.size());
  close(fd);
  if (FILE* pipe = written ? popen((command + " < " + path).c_str(), "r") : nullptr) {
    char buffer[65536];
    for (size_t got; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;) result.second.append(buffer, got);
    const int status = pclose(pipe);
    result.first = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  unlink(path);
  return result;
}

}  // namespace OlmaTest
