// The private window messages of the store's change-notice protocol. Each
// carries a node or document in wParam and the kind of change in lParam
// (kChangeAdded, kChangeUpdated, kChangeDeleted). They are posted, never
// sent, to the window a caller names (platform/window.h); the facade's
// information window reposts all six to every window registered with it.
// Documents include this header, not the facade's, to post their own.

#ifndef ZDS_FRAMEWORK_MESSAGES_H_
#define ZDS_FRAMEWORK_MESSAGES_H_

#include <array>
#include <cstdint>

namespace zds {

inline constexpr uint32_t WM_ZDS_CHANGED = 1874;        // a node of the store changed
inline constexpr uint32_t WM_ZDS_NOTICE_2274 = 2274;    // the host's own; relayed unchanged
inline constexpr uint32_t WM_ZDS_NOTE_CHANGED = 2275;   // a sticky note changed
inline constexpr uint32_t WM_ZDS_TIMER_CHANGED = 2276;  // a timer, or the timer index, changed
inline constexpr uint32_t WM_ZDS_NOTICE_2324 = 2324;    // the host's own; relayed unchanged
inline constexpr uint32_t WM_ZDS_NOTICE_1828 = 1828;    // the host's own; relayed unchanged
inline constexpr std::array<uint32_t, 6> kZDSMessages = {WM_ZDS_CHANGED,      WM_ZDS_NOTICE_2274,
                                                         WM_ZDS_NOTE_CHANGED, WM_ZDS_TIMER_CHANGED,
                                                         WM_ZDS_NOTICE_2324,  WM_ZDS_NOTICE_1828};

// lParam: the kind of change.
inline constexpr intptr_t kChangeAdded = 0;
inline constexpr intptr_t kChangeUpdated = 1;
inline constexpr intptr_t kChangeDeleted = 2;

}  // namespace zds

#endif  // ZDS_FRAMEWORK_MESSAGES_H_
