#include "tools/tool_run.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/temporary_folder.h"

namespace {

/// Arguments in the form that the system wants.
class Arguments {
public:
  Arguments(const std::string& program, const std::vector<std::string>& arguments,
            const std::string& emulator = ZSIMAGE_EMULATOR)
      : m_texts(arguments) {
    m_texts.insert(m_texts.begin(), program);
    if (!emulator.empty()) {
      m_texts.insert(m_texts.begin(), emulator);
    }
    for (std::string& text : m_texts) {
      m_pointers.push_back(text.data());
    }
    m_pointers.push_back(nullptr);
  }
  char** Get() { return m_pointers.data(); }
  /// What the system is to start: the program, or what runs it.
  const char* Program() const { return m_texts.front().c_str(); }

private:
  std::vector<std::string> m_texts;
  std::vector<char*> m_pointers;
};

int Wait(pid_t process) {
  int status = 0;
  waitpid(process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

ToolResult Run(Arguments command) {
  const TemporaryFolder folder;
  const std::string out = folder.Path("out");
  const std::string err = folder.Path("err");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(), O_CREAT | O_WRONLY, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err.c_str(), O_CREAT | O_WRONLY, 0600);
  pid_t process = 0;
  const int failure = posix_spawn(&process, command.Program(), &actions, nullptr, command.Get(), environ);
  posix_spawn_file_actions_destroy(&actions);
  const int status = failure == 0 ? Wait(process) : -1;
  return {status, folder.Read("out"), folder.Read("err")};
}

} // namespace

ToolResult RunProgram(const std::string& program, const std::vector<std::string>& arguments) {
  return Run(Arguments(program, arguments));
}

ToolResult RunSystemProgram(const std::string& program, const std::vector<std::string>& arguments) {
  return Run(Arguments(program, arguments, ""));
}

ToolResult RunTool(const std::vector<std::string>& arguments) { return RunProgram(ZSIMAGE_PATH, arguments); }

ToolResult InterruptTool(const std::vector<std::string>& arguments, const std::string& marker) {
  ToolResult result{-1, "", ""};
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  if (terminal == -1 || grantpt(terminal) != 0 || unlockpt(terminal) != 0) {
    return result;
  }
  const std::string name = ptsname(terminal);
  Arguments command(ZSIMAGE_PATH, arguments);
  const pid_t process = fork();
  if (process == 0) {
    setsid();
    const int own = open(name.c_str(), O_RDWR); // Becomes the controlling terminal, so that Ctrl-C reaches us.
    dup2(own, STDIN_FILENO);
    dup2(own, STDOUT_FILENO);
    dup2(own, STDERR_FILENO);
    execv(command.Program(), command.Get());
    _exit(127);
  }
  bool sent = false;
  char part[4096];
  for (ssize_t count = 0; (count = read(terminal, part, sizeof(part))) > 0;) {
    result.out.append(part, static_cast<std::size_t>(count));
    if (!sent && result.out.find(marker) != std::string::npos) {
      sent = write(terminal, "\x03", 1) == 1;
    }
  }
  close(terminal);
  result.status = Wait(process);
  return result;
}
