// Welcomes the user and shows what the program may not do yet.
#pragma once

#include <QWidget>
#include <functional>
#include <memory>

#include "platform/NSNotificationCenter.h"
#include "varnoletKit/Observation.h"
#include "varnoletKit/PermissionsManager.h"

namespace varnolet {

// Follows the permissions, and reads them anew whenever the program becomes active. Main thread only.
class OnboardingView : public QWidget {
 public:
  // `onDismiss`: the user wants to begin; both permissions are there.
  OnboardingView(std::shared_ptr<varnoletKit::PermissionsManager> permissionsManager, std::function<void()> onDismiss);
  ~OnboardingView() override;

 private:
  QWidget* makeHeader();
  QWidget* makeCards();
  QWidget* makeGetStarted(std::function<void()> onDismiss);

  const std::shared_ptr<varnoletKit::PermissionsManager> permissionsManager_;
  platform::NSNotificationCenter::ObserverToken didBecomeActive_;
  varnoletKit::Observation redrawing_;
};

}  // namespace varnolet
