// The applications of the simulated desktop.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/NSWorkspace.h"
#include "platform/simulated/Bundles.h"
#include "platform/simulated/Executor.h"
#include "platform/simulated/SimulatedDesktop.h"

namespace platform::simulated {

class Workspace final : public NSWorkspace, public std::enable_shared_from_this<Workspace> {
 public:
  Workspace(Executor& executor, const Bundles& bundles) : executor_(executor), bundles_(bundles) {}

  // The verbs of SimulatedDesktop.
  NSRunningApplication launch(const Application& application);
  void announceLaunch(const NSRunningApplication& application);
  void quit(const NSRunningApplication& application);
  void activate(const NSRunningApplication& application);
  void setFrontmost(const std::optional<NSRunningApplication>& application);
  void whenAskedToActivate(const NSRunningApplication& application, ActivationBehaviour behaviour);
  std::size_t activationRequests(const NSRunningApplication& application) const;
  const std::vector<std::string>& openedURLs() const { return openedURLs_; }
  void refuseURLs(bool refuse) { refusesURLs_ = refuse; }
  void announce(const char* name);

  // What an application's record does when it is asked to become frontmost.
  bool requestActivation(std::int32_t pid);

  // While one of these lives, its thread sees the application that the event in its hands goes to as the frontmost.
  class EventInHand {
   public:
    explicit EventInHand(const std::optional<NSRunningApplication>& destination);
    EventInHand(const EventInHand&) = delete;
    EventInHand& operator=(const EventInHand&) = delete;
    ~EventInHand();

   private:
    const std::optional<NSRunningApplication>* previous_;
  };

  // NSWorkspace
  std::optional<NSRunningApplication> frontmostApplication() override;
  std::vector<NSRunningApplication> runningApplications() override;
  NSNotificationCenter& notificationCenter() override { return notificationCenter_; }
  bool openURL(const std::string& url) override;
  std::optional<std::filesystem::path> URLForApplicationWithBundleIdentifier(const std::string& identifier) override;
  std::vector<std::filesystem::path> installedApplications() override;
  std::string iconForFile(const std::filesystem::path& location) override;

 private:
  class Record;

  struct Running {
    std::shared_ptr<Record> record;
    ActivationBehaviour behaviour;
    std::size_t activationRequests = 0;
  };

  std::shared_ptr<Record> recordOf(const NSRunningApplication& application) const;
  // False if it has quit.
  bool bringToFront(const Record& record);
  void announce(const char* name, const std::shared_ptr<Record>& record);
  // Main thread.
  void post(const char* name, const std::shared_ptr<Record>& record);

  Executor& executor_;
  const Bundles& bundles_;
  NSNotificationCenter notificationCenter_;
  mutable std::mutex mutex_;  // guards the members down to nextPid_
  std::map<std::int32_t, Running> applications_;
  std::optional<std::int32_t> frontmost_;
  std::int32_t nextPid_ = 1001;
  // Activations that were asked for and come later.
  std::vector<ScheduledTask> comings_;
  std::vector<std::string> openedURLs_;
  bool refusesURLs_ = false;
};

}  // namespace platform::simulated
