#include "platform/simulated/Workspace.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace platform::simulated {
namespace {

using namespace std::chrono_literals;

thread_local const std::optional<NSRunningApplication>* destinationOfEventInHand = nullptr;

}  // namespace

class Workspace::Record final : public RunningApplicationRecord {
 public:
  Record(std::weak_ptr<Workspace> workspace, Application application)
      : workspace_(std::move(workspace)), application_(std::move(application)) {}

  std::optional<std::string> bundleIdentifier() const override { return application_.bundleIdentifier; }
  std::optional<std::string> localizedName() const override { return application_.localizedName; }
  std::int32_t processIdentifier() const override { return application_.pid; }
  bool isTerminated() const override { return isTerminated_; }
  bool activate(NSApplicationActivationOptions) const override {
    const auto workspace = workspace_.lock();
    return workspace && workspace->requestActivation(application_.pid);
  }

  void terminate() { isTerminated_ = true; }

 private:
  std::weak_ptr<Workspace> workspace_;
  Application application_;
  std::atomic<bool> isTerminated_{false};
};

NSRunningApplication Workspace::launch(const Application& application) {
  std::shared_ptr<Record> record;
  {
    const std::lock_guard lock(mutex_);
    Application launched = application;
    if (launched.pid == 0) {
      while (applications_.contains(nextPid_)) ++nextPid_;
      launched.pid = nextPid_++;
    }
    const auto found = applications_.find(launched.pid);
    if (found != applications_.end() && !found->second.record->isTerminated()) {
      failLoudly("an application with process identifier " + std::to_string(launched.pid) + " runs already");
    }
    record = std::make_shared<Record>(weak_from_this(), launched);
    applications_[launched.pid] = Running{record, {}, 0};
  }
  announce(NSWorkspaceDidLaunchApplicationNotification, record);
  return NSRunningApplication(record);
}

void Workspace::announceLaunch(const NSRunningApplication& application) {
  announce(NSWorkspaceDidLaunchApplicationNotification, recordOf(application));
}

void Workspace::quit(const NSRunningApplication& application) {
  const auto record = recordOf(application);
  {
    const std::lock_guard lock(mutex_);
    record->terminate();
    if (frontmost_ == record->processIdentifier()) frontmost_.reset();
  }
  announce(NSWorkspaceDidTerminateApplicationNotification, record);
}

void Workspace::activate(const NSRunningApplication& application) {
  const auto record = recordOf(application);
  if (!bringToFront(*record)) failLoudly("an application that has quit cannot be activated");
  announce(NSWorkspaceDidActivateApplicationNotification, record);
}

void Workspace::setFrontmost(const std::optional<NSRunningApplication>& application) {
  if (application) {
    if (!bringToFront(*recordOf(*application))) failLoudly("an application that has quit cannot be in front");
  } else {
    const std::lock_guard lock(mutex_);
    frontmost_.reset();
  }
}

void Workspace::whenAskedToActivate(const NSRunningApplication& application, ActivationBehaviour behaviour) {
  const std::lock_guard lock(mutex_);
  applications_.at(application.processIdentifier()).behaviour = behaviour;
}

std::size_t Workspace::activationRequests(const NSRunningApplication& application) const {
  const std::lock_guard lock(mutex_);
  return applications_.at(application.processIdentifier()).activationRequests;
}

bool Workspace::requestActivation(std::int32_t pid) {
  if (!executor_.isMainThread()) failLoudly("activateWithOptions is for the main thread");
  ActivationBehaviour behaviour;
  std::shared_ptr<Record> record;
  {
    const std::lock_guard lock(mutex_);
    Running& application = applications_.at(pid);
    ++application.activationRequests;
    record = application.record;
    behaviour = application.behaviour;
  }
  if (record->isTerminated()) return false;
  if (behaviour.comesAfter == 0ns) {
    bringToFront(*record);
    executor_.runOnMainThread([this, record] { post(NSWorkspaceDidActivateApplicationNotification, record); });
  } else if (behaviour.comesAfter) {
    comings_.push_back(executor_.runOnMainThreadAfter(*behaviour.comesAfter, [this, record] {
      if (bringToFront(*record)) post(NSWorkspaceDidActivateApplicationNotification, record);
    }));
  }
  return behaviour.answer;
}

Workspace::EventInHand::EventInHand(const std::optional<NSRunningApplication>& destination)
    : previous_(std::exchange(destinationOfEventInHand, &destination)) {}

Workspace::EventInHand::~EventInHand() {
  destinationOfEventInHand = previous_;
}

std::optional<NSRunningApplication> Workspace::frontmostApplication() {
  if (destinationOfEventInHand) return *destinationOfEventInHand;
  const std::lock_guard lock(mutex_);
  if (!frontmost_) return std::nullopt;
  return NSRunningApplication(applications_.at(*frontmost_).record);
}

std::vector<NSRunningApplication> Workspace::runningApplications() {
  if (!executor_.isMainThread()) failLoudly("runningApplications is for the main thread");
  const std::lock_guard lock(mutex_);
  std::vector<NSRunningApplication> running;
  for (const auto& [pid, application] : applications_) {
    if (!application.record->isTerminated()) running.emplace_back(application.record);
  }
  return running;
}

bool Workspace::openURL(const std::string& url) {
  if (!executor_.isMainThread()) failLoudly("openURL is for the main thread");
  if (refusesURLs_) return false;
  openedURLs_.push_back(url);
  return true;
}

std::optional<std::filesystem::path> Workspace::URLForApplicationWithBundleIdentifier(const std::string& identifier) {
  for (const auto& [location, application] : bundles_.applications()) {
    if (application.bundleIdentifier == identifier) return location;
  }
  return std::nullopt;
}

std::vector<std::filesystem::path> Workspace::installedApplications() {
  std::vector<std::filesystem::path> locations;
  for (const auto& [location, application] : bundles_.applications()) locations.push_back(location);
  return locations;
}

std::string Workspace::iconForFile(const std::filesystem::path& location) {
  const auto* application = bundles_.find(location);
  return application ? application->icon : std::string();
}

std::shared_ptr<Workspace::Record> Workspace::recordOf(const NSRunningApplication& application) const {
  const std::lock_guard lock(mutex_);
  return applications_.at(application.processIdentifier()).record;
}

bool Workspace::bringToFront(const Record& record) {
  const std::lock_guard lock(mutex_);
  if (record.isTerminated()) return false;
  frontmost_ = record.processIdentifier();
  return true;
}

void Workspace::announce(const char* name, const std::shared_ptr<Record>& record) {
  executor_.runAsMainThreadWork([this, name, record] { post(name, record); });
}

void Workspace::announce(const char* name) {
  executor_.runAsMainThreadWork([this, name] { notificationCenter_.postNotification({name, {}}); });
}

void Workspace::post(const char* name, const std::shared_ptr<Record>& record) {
  notificationCenter_.postNotification({name, {{NSWorkspaceApplicationKey, NSRunningApplication(record)}}});
}

}  // namespace platform::simulated
