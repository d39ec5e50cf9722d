// A desktop that does next to nothing, so that what is measured on it is the engine: one application, always in front;
// the real clock; the real files and settings stores.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/Desktop.h"
#include "platform/linux/stores/LinuxFileManager.h"
#include "platform/linux/stores/LinuxUserDefaults.h"

namespace bench {

// What the measured code must not ask for ends the process.
class MinimalDesktop : public platform::Desktop {
 public:
  MinimalDesktop();

  platform::NSWorkspace& workspace() override { return workspace_; }
  platform::EventServices& events() override;
  platform::RunLoops& runLoops() override;
  platform::AccessibilityServices& accessibility() override;
  platform::TaskServices& tasks() override { return tasks_; }
  platform::UserDefaultsServices& userDefaults() override { return userDefaults_; }
  platform::NSFileManager& fileManager() override { return fileManager_; }
  platform::BundleServices& bundles() override;
  platform::NSNotificationCenter& defaultNotificationCenter() override { return notifications_; }
  platform::UNUserNotificationCenter& userNotificationCenter() override;
  platform::SMAppService& mainAppService() override;
  platform::LogSink& log() override { return log_; }
  std::string newUUID() override { return "00000000-0000-4000-8000-000000000000"; }

 private:
  class Application : public platform::RunningApplicationRecord {
   public:
    std::optional<std::string> bundleIdentifier() const override { return "bench"; }
    std::optional<std::string> localizedName() const override { return "bench"; }
    std::int32_t processIdentifier() const override { return 1; }
    bool isTerminated() const override { return false; }
    bool activate(platform::NSApplicationActivationOptions) const override { return true; }
  };

  class Workspace : public platform::NSWorkspace {
   public:
    std::optional<platform::NSRunningApplication> frontmostApplication() override { return application_; }
    std::vector<platform::NSRunningApplication> runningApplications() override { return {application_}; }
    platform::NSNotificationCenter& notificationCenter() override { return notifications_; }
    bool openURL(const std::string&) override { return false; }
    std::optional<std::filesystem::path> URLForApplicationWithBundleIdentifier(const std::string&) override {
      return std::nullopt;
    }
    std::vector<std::filesystem::path> installedApplications() override { return {}; }
    std::string iconForFile(const std::filesystem::path&) override { return {}; }

   private:
    platform::NSRunningApplication application_{std::make_shared<const Application>()};
    platform::NSNotificationCenter notifications_;
  };

  // The clocks are real; work for later is thrown away.
  class Tasks : public platform::TaskServices {
   public:
    platform::Date dateNow() override { return std::chrono::system_clock::now(); }
    std::uint64_t uptimeNanoseconds() override;
    void runOnMainThread(platform::Work) override {}
    platform::ScheduledTask runOnMainThreadAfter(std::chrono::nanoseconds, platform::Work) override { return {}; }
    void runInBackground(platform::QualityOfService, platform::Work) override {}
    platform::ScheduledTask runInBackgroundAfter(std::chrono::nanoseconds, platform::Work) override { return {}; }
    bool isMainThread() override { return true; }
    void sleepForTimeInterval(double) override {}
    std::unique_ptr<platform::DispatchQueue> createQueue(const std::string&, platform::QualityOfService) override;
  };

  class Silence : public platform::LogSink {
   public:
    void write(platform::LogCategory, platform::LogLevel, const std::string&) override {}
  };

  Workspace workspace_;
  Tasks tasks_;
  platform::linux_desktop::LinuxFileManager fileManager_;
  platform::linux_desktop::LinuxUserDefaults userDefaults_{"app.varnolet.bench"};
  platform::NSNotificationCenter notifications_;
  Silence log_;
};

}  // namespace bench
