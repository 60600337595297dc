// The extension types of the feeds' nodes: the channel index, the channel
// documents and the chat history index. Declared ahead of those families,
// which include this header.

#ifndef ZDS_FEEDS_EXTEND_TYPES_H_
#define ZDS_FEEDS_EXTEND_TYPES_H_

namespace zds {

// The channel index: a folder of node sub-type 4, any other folder, a channel.
inline constexpr int kChannelIndexTopFolderType = 140;
inline constexpr int kChannelIndexFolderType = 141;
inline constexpr int kChannelRecType = 142;
// A channel document: a folder of node sub-type 4 (others keep theirs), an item.
inline constexpr int kChannelTopFolderType = 143;
inline constexpr int kChannelItemType = 144;
// Every node of the chat history index.
inline constexpr int kChatIndexType = 67;

}  // namespace zds

#endif  // ZDS_FEEDS_EXTEND_TYPES_H_
