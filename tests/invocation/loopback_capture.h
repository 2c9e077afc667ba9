// Captures the HTTP request a real client sends: opens a listening socket on 127.0.0.1, runs
// the client (argv, with "{port}" replaced) as a child process, accepts one connection,
// reads the request head, answers 200 with no body and reaps the child. Every wait is
// bounded; a client that hangs is killed.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <strings.h>

#include <chrono>
#include <optional>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace OlmaTest {

// The request head (up to the blank line), or an empty string when anything failed.
inline std::string CaptureRequest(std::vector<std::string> argv, int timeoutMs = 5000) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (listener < 0) return {};
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener, 1) != 0 ||
      getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    close(listener);
    return {};
  }
  const std::string port = std::to_string(ntohs(address.sin_port));
  std::vector<char*> args;
  for (std::string& arg : argv) {
    for (std::size_t at; (at = arg.find("{port}")) != std::string::npos;) arg.replace(at, 6, port);
    args.push_back(arg.data());
  }
  args.push_back(nullptr);
  pid_t child = -1;
  if (posix_spawnp(&child, args[0], nullptr, nullptr, args.data(), environ) != 0) {
    close(listener);
    return {};
  }
  std::string request;
  pollfd waiting{listener, POLLIN, 0};
  if (poll(&waiting, 1, timeoutMs) == 1) {
    const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    pollfd reading{connection, POLLIN, 0};
    char buffer[4096];
    while (connection >= 0 && request.find("\r\n\r\n") == std::string::npos && request.size() < 65536 &&
           poll(&reading, 1, timeoutMs) == 1) {
      const ssize_t got = read(connection, buffer, sizeof buffer);
      if (got <= 0) break;
      request.append(buffer, static_cast<std::size_t>(got));
    }
    const char reply[] = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    if (connection >= 0) {
      (void)!write(connection, reply, sizeof reply - 1);
      close(connection);
    }
  }
  close(listener);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  int status = 0;
  while (waitpid(child, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  const std::size_t end = request.find("\r\n\r\n");
  return end == std::string::npos ? std::string() : request.substr(0, end + 2);
}

// The value of the first header named `name` (compared without regard to case), or nothing.
inline std::optional<std::string> HeaderValue(const std::string& head, const std::string& name) {
  for (std::size_t line = head.find("\r\n"); line != std::string::npos; line = head.find("\r\n", line + 2)) {
    const std::size_t colon = head.find(':', line + 2);
    if (colon == std::string::npos || colon - line - 2 != name.size()) continue;
    if (strncasecmp(head.c_str() + line + 2, name.c_str(), name.size()) != 0) continue;
    std::size_t begin = colon + 1;
    while (begin < head.size() && head[begin] == ' ') ++begin;
    return head.substr(begin, head.find("\r\n", begin) - begin);
  }
  return std::nullopt;
}

}  // namespace OlmaTest
