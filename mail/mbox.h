// A mail folder in and out of mbox, the file format mail programs keep
// folders in: each message begins with a "From " line (sender and time of
// delivery), and a line of the message that begins with "From ", after any
// number of ">", has one more ">" in front (so ">From " in the file is
// "From " in the message).
//
// Importing reads the stream as it comes: memory holds the message being
// read and a few batches of bodies on their way to their files (written on
// a thread of the import's own, ended before it returns). Each message becomes a record (mail_message.h) and a body file
// beside the mail index, named by the record's id, that holds the
// message's "From " line and the message as it was, so that exporting
// writes the folder back byte for byte (for a file whose messages are
// each followed by an empty line, as mbox writers leave them). The import
// is one change of the index, saved once at the end: a crash before that
// leaves the folder as it was, and the body files it wrote are taken away
// (or written anew) by the next import.

#ifndef ZDS_MAIL_MBOX_H_
#define ZDS_MAIL_MBOX_H_

#include <iosfwd>
#include <string>
#include <string_view>

#include "zds/mail/midl_doc.h"

namespace zds {

struct CMboxImportResult {
  int stored = 0;
  // Text that is no message (before the first "From " line), and messages
  // that could not be stored (their body file could not be written).
  int refused = 0;
  // False when nothing could be kept: the index could not be saved (it is
  // as it was), or the document has no file to keep bodies beside.
  bool saved = false;
};

// Adds the messages of `in` to the folder at `folder_pos` of `doc` (empty:
// its root folder). With auto-save off the index is left for the caller
// to save; the body files are written either way.
CMboxImportResult ImportMbox(CMIDLDoc& doc, std::istream& in, std::string_view folder_pos = "");

// Writes the messages below the folder at `folder_pos` (empty: the whole
// index) in file order. False when a body file cannot be read (the
// messages before it are written) or the stream fails.
bool ExportMbox(const CMIDLDoc& doc, std::ostream& out, std::string_view folder_pos = "");

// The message in a body file, without its "From " line.
std::string_view MailMessageOf(std::string_view body);

}  // namespace zds

#endif  // ZDS_MAIL_MBOX_H_
