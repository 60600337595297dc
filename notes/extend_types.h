// The extension type of the sticky notes' records. Declared ahead of the
// notes family, which includes this header; the facade names a timer's
// owner by it.

#ifndef ZDS_NOTES_EXTEND_TYPES_H_
#define ZDS_NOTES_EXTEND_TYPES_H_

namespace zds {

inline constexpr int kNoteRecType = 190;

}  // namespace zds

#endif  // ZDS_NOTES_EXTEND_TYPES_H_
