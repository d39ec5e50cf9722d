// The running program as the desktop sees it.
#pragma once

#include <QObject>
#include <functional>
#include <memory>
#include <utility>

namespace platform::ui {

// Posted on the default notification centre, on the main thread: one of the program's windows got the keys.
inline constexpr char NSApplicationDidBecomeActiveNotification[] = "NSApplicationDidBecomeActiveNotification";

// Main thread.
class NSApplicationDelegate {
 public:
  NSApplicationDelegate() = default;
  NSApplicationDelegate(const NSApplicationDelegate&) = delete;
  NSApplicationDelegate& operator=(const NSApplicationDelegate&) = delete;
  virtual ~NSApplicationDelegate() = default;

  virtual void applicationDidFinishLaunching() = 0;
  virtual void applicationWillTerminate() = 0;
  // The user started the program again while it runs. The answer tells whether to go on as usual; nothing here is.
  virtual bool applicationShouldHandleReopen(bool hasVisibleWindows) = 0;
};

// One in the process, beside Qt's application object. Main thread.
class NSApplication : public QObject {
 public:
  NSApplication();
  ~NSApplication() override;

  // The one that lives; null if there is none.
  static NSApplication* sharedApplication();

  void setDelegate(std::weak_ptr<NSApplicationDelegate> delegate) { delegate_ = std::move(delegate); }
  std::shared_ptr<NSApplicationDelegate> delegate() const { return delegate_.lock(); }

  // From the event loop's start to terminate(), or to the end of the session, of which the delegate is told as well.
  // The exit code.
  int run();
  // Tells the delegate, and ends the event loop with the code; nothing if it has been told before.
  void terminate(int exitCode = 0);
  void reopen();
  // Called once, before the delegate is told of the end.
  void setTerminationHandler(std::function<void()> handler) { onTermination_ = std::move(handler); }

 private:
  // False if it has been told before.
  bool tellOfTheEnd();

  std::weak_ptr<NSApplicationDelegate> delegate_;
  std::function<void()> onTermination_;
  bool isTerminating_ = false;
};

}  // namespace platform::ui
