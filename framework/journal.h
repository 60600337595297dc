// The journal beside a large document ("NAME.xml-journal"): the edits saved
// since the document file was last written whole, so that saving one record
// costs an append instead of a rewrite of the file.
//
// The text is a header line that binds the journal to one version of the
// document, the document's size and CRC-32:
//   zds-journal 1 <size> <crc, 8 hex digits>\n
// then entries, each a frame line with the payload's length and CRC-32,
// the payload and a line feed:
//   @<length> <crc>\n<payload>\n
// A payload is an operation line and, for the operations that carry one,
// the node's element in the document's own line form:
//   U <id>\n<element>                  the node with that id takes this value
//   A <parent id> <index>\n<element>   a new node under the folder at that place
//   D <id>                             the node goes
//   C <size> <crc>                     a checkpoint is writing the document whole
//                                      with that size and CRC: once it is there,
//                                      everything before is in the document
// An entry cut short by the end of the file, or garbled with nothing but
// zero bytes after it, is what a crash in the middle of an append leaves;
// it was never acknowledged and is dropped. A bad entry with more text
// after it, a bad header or a header of another version means the journal
// cannot be trusted.

#ifndef ZDS_FRAMEWORK_JOURNAL_H_
#define ZDS_FRAMEWORK_JOURNAL_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zds {

// CRC-32 (the polynomial of zip and PNG); `crc` continues an earlier value.
uint32_t Crc32(std::string_view data, uint32_t crc = 0);

// The journal file of a document's file: "\a\b.xml" -> "\a\b.xml-journal".
std::string JournalPathOf(std::string_view path);

// One version of a document file.
struct JournalBinding {
  uint64_t size = 0;
  uint32_t crc = 0;
  bool operator==(const JournalBinding&) const = default;
};

struct JournalEntry {
  char op = 0;                 // 'U', 'A', 'D' (checkpoint marks are not handed out)
  std::string_view id;         // the node's id; for 'A' its parent's
  int index = -1;              // for 'A'
  std::string_view element;    // for 'U' and 'A'
};

enum class JournalVerdict {
  kEmpty,         // nothing to apply (no file, an empty one, or a header cut short)
  kApplies,       // entries of this very version of the document
  kFoldedIn,      // a checkpoint wrote them into the document already
  kOtherVersion,  // made for another version of the document
  kCorrupt,       // damaged where a crash could not have damaged it
};

struct JournalScan {
  JournalVerdict verdict = JournalVerdict::kEmpty;
  std::vector<JournalEntry> entries;  // views into the scanned text
  uint64_t good_size = 0;  // the bytes up to the end of the last whole entry
  bool torn = false;       // a cut tail was dropped
  std::string what;        // why it is not trusted, for kOtherVersion and kCorrupt
};

// Reads a journal's text for the document whose version `binding` gives.
JournalScan ScanJournal(std::string_view text, const JournalBinding& binding);

std::string FormatJournalHeader(const JournalBinding& binding);
// An entry's frame around `payload`.
std::string FormatJournalEntry(std::string_view payload);
std::string FormatCheckpointPayload(const JournalBinding& binding);

}  // namespace zds

#endif  // ZDS_FRAMEWORK_JOURNAL_H_
