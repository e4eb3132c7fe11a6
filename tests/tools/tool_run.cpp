#include "tools/tool_run.h"

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace {

int ExitStatus(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }

} // namespace

ToolResult RunShell(const std::string& command) {
  const TemporaryFolder folder;
  const std::string redirection = "exec >'" + folder.Path("out") + "' 2>'" + folder.Path("err") + "'\n";
  const int status = ExitStatus(std::system((redirection + command).c_str()));
  return {status, folder.Read("out"), folder.Read("err")};
}

ToolResult RunShellIn(const TemporaryFolder& folder, const std::string& command) {
  return RunShell("cd '" + folder.Path("") + "' && " + command);
}

// The tool replaces the shell, so that a signal that ends it is seen.
ToolResult RunTool(const TemporaryFolder& folder, const std::string& arguments) {
  return RunShellIn(folder, "exec " + kTool + arguments);
}

ToolResult InterruptTool(const TemporaryFolder& folder, const std::string& arguments, const std::string& marker,
                         unsigned columns) {
  const std::string command = "cd '" + folder.Path("") + "' && exec " + kTool + arguments;
  int terminal = -1;
  winsize size{24, static_cast<unsigned short>(columns), 0, 0};
  const pid_t process = forkpty(&terminal, nullptr, nullptr, &size);
  if (process == 0) {
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(127);
  }
  std::string shown;
  bool sent = false;
  char part[4096];
  for (ssize_t count = 0; (count = read(terminal, part, sizeof(part))) > 0;) {
    shown.append(part, static_cast<std::size_t>(count));
    if (!sent && shown.find(marker) != std::string::npos) {
      sent = write(terminal, "\x03", 1) == 1;
    }
  }
  close(terminal);
  int status = -1;
  waitpid(process, &status, 0);
  return {ExitStatus(status), shown, ""};
}
