// The one name that this program goes by.
#pragma once

namespace varnoletKit {

// Names the settings suite, the subsystem of the log, the event tap's queue and the in-process notifications; also the
// bundle identifier that the program's own windows carry.
inline constexpr char applicationIdentifier[] = "app.varnolet.Varnolet";

}  // namespace varnoletKit
