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

struct ToolResult {
  int exitCode = -1;
  std::string out;
};

// Runs `command < file-holding-input`; the command must not mention the file itself.
inline ToolResult RunTool(const std::string& command, std::string_view input) {
  ToolResult result;
  char path[] = "/tmp/olma_tool_XXXXXX";
  const int fd = mkstemp(path);
  if (fd < 0) return result;
  const bool written = write(fd, input.data(), input.size()) == static_cast<ssize_t>(input.size());
  close(fd);
  if (written) {
    if (FILE* pipe = popen((command + " < " + path).c_str(), "r")) {
      char buffer[65536];
      for (size_t got; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;) result.out.append(buffer, got);
      const int status = pclose(pipe);
      result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
  }
  unlink(path);
  return result;
}

}  // namespace OlmaTest
