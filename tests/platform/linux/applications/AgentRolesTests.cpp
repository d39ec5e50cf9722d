#include <gtest/gtest.h>

#include "platform/linux/applications/AgentRoles.h"
#include "tests/platform/linux/TestFolder.h"
#include "tools/stage/ChildProcess.h"

namespace platform::linux_desktop {
namespace {

TEST(AgentRolesTest, AreThoseOfTheFileThatAProcessRuns) {
  constexpr char shell[] = "/bin/bash";
  constexpr char panels[] = "com.apple.systemuiserver";
  constexpr char reader[] = "com.apple.voiceover";
  const TestFolder folder;
  for (const char* name : {"rofi", "orca"}) std::filesystem::copy_file(shell, folder / name);
  std::filesystem::create_directory(folder / "scripts");
  for (const char* name : {"scripts/rofi", "scripts/orca"}) {
    fill(folder / name, "#!/bin/bash\nread line; echo up; read line\n");
    std::filesystem::permissions(folder / name, std::filesystem::perms::owner_all);
  }
  const struct {
    std::vector<std::string> command;
    std::optional<std::string> role;
  } cases[] = {
      {{folder / "rofi"}, panels},
      {{folder / "orca"}, std::nullopt},
      {{folder / "scripts/orca"}, reader},
      {{folder / "scripts/rofi"}, std::nullopt},
      {{shell, folder / "scripts/orca", "rofi"}, reader},
      {{shell, "-c", "read line; echo up; read line; : /orca"}, std::nullopt},
      {{shell, "-c", "exec -a orca bash"}, reader},  // as a script that has given its process a title
      {{shell, "-c", "exec -a rofi bash"}, std::nullopt},
  };
  for (const auto& [command, role] : cases) {
    stage::ChildProcess::Options options;
    options.environment = stage::bareEnvironment();
    options.readOutput = true;
    stage::ChildProcess process(command, options);
    process.tell("echo up");
    ASSERT_TRUE(process.output().waitFor("up")) << testing::PrintToString(command);
    EXPECT_EQ(agentRoleOfProcess(process.pid()), role) << testing::PrintToString(command);
    EXPECT_EQ(isLauncher(process.pid()), role == panels) << testing::PrintToString(command);
  }
  EXPECT_EQ(agentRoleOfProcess(-1), std::nullopt);
}

}  // namespace
}  // namespace platform::linux_desktop
