// Runs the tessel executable as a person would, and keeps what it printed and its status.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace tessel::test {

constexpr const char* emulated_gpu = "Tessel emulated GPU";

struct tool_run {
  int status = -1;
  std::string out;
  std::string err;
};

inline std::string shell_quoted(const std::string& word) {
  std::string quoted = "'";
  for (const char c : word) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

inline std::string slurp(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// `folder` receives the two captured streams.
inline tool_run run_tessel(const std::vector<std::string>& args, const std::string& folder) {
  std::string command = shell_quoted(TESSEL_BINARY);
  for (const std::string& arg : args) {
    command += " " + shell_quoted(arg);
  }
  const std::string out = folder + "/stdout.txt";
  const std::string err = folder + "/stderr.txt";
  command += " >" + shell_quoted(out) + " 2>" + shell_quoted(err) + " </dev/null";
  const int raw = std::system(command.c_str());
  tool_run run;
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
  run.out = slurp(out);
  run.err = slurp(err);
  return run;
}

}  // namespace tessel::test
