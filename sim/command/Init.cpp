#include "command/Init.h"

#include <algorithm>
#include <string_view>

#include <fmt/format.h>

#include "command/Files.h"
#include "command/Starters.h"
#include "text/Shown.h"

namespace Sim {
namespace {

// The file of `folder`; never what a command line would take for an option.
std::string fileIn(const std::string& folder, std::string_view name) {
  if (folder == ".") return std::string(name);
  return fmt::format("{}{}{}{}", folder.starts_with('-') ? "./" : "", folder, folder.ends_with('/') ? "" : "/", name);
}

// As a shell reads the word back.
std::string shellWord(const std::string& text) {
  constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./";
  if (text.find_first_not_of(kPlain) == text.npos) return text;
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

RunResult failure(const WriteFault& fault) {
  const std::string file = Shown(fault.file).text();
  if (!fault.exists) {
    return {.exitStatus = kReportLost,
            .complaint = fmt::format("kestrix-sim: cannot write {}: {}\n", file, fault.reason)};
  }
  return {.exitStatus = kBadInput,
          .complaint = fmt::format("kestrix-sim: {} is there already, and stays as it is: nothing was written\n"
                                   "Name another folder: kestrix-sim init FOLDER\n",
                                   file)};
}

}  // namespace

RunResult init(const std::string& folder) {
  const std::string device = fileIn(folder, "device.json");
  const std::string acls = fileIn(folder, "acls.json");
  if (const auto fault = createFiles(folder, {{device, kStarterDevice}, {acls, kStarterAcls}})) return failure(*fault);
  return {.output = fmt::format("Wrote {} and {}. Apply them with\n  kestrix-sim apply {} {}\n", Shown(device).text(),
                                Shown(acls).text(), Shown(shellWord(device)).text(), Shown(shellWord(acls)).text())};
}

}  // namespace Sim
