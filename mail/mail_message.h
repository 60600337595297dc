// Reading an Internet message (RFC 5322 with MIME) into a mail index
// record: the header fields the list shows, unfolded and with their
// encoded words (RFC 2047) decoded to the bytes they stand for (UTF-8 stays
// UTF-8; other character sets are not converted), the dates in the store's
// text form, and the attachments (the MIME parts that carry a file name,
// RFC 2231 continuations included) with their character set and decoded
// size. Nothing here refuses a message: what cannot be read is left empty,
// and a malformed structure gives what could be made out of it.

#ifndef ZDS_MAIL_MAIL_MESSAGE_H_
#define ZDS_MAIL_MAIL_MESSAGE_H_

#include <string>
#include <string_view>

#include "zds/mail/midl_doc.h"

namespace zds {

// Fills `mail`'s header fields, size and attachments from `message` (the
// message itself, without an mbox "From " line); the flags and the note
// are left as they are.
void ReadMailMessage(std::string_view message, CMIDLExtendRec& mail);

// A header value with its encoded words decoded; the white space between
// two encoded words goes, as it should. An encoded word that is not well
// formed stays as it stands.
std::string DecodeEncodedWords(std::string_view value);

// An RFC 5322 date ("Tue, 24 Nov 2026 12:00:00 +0100") as local time in
// the form "%Y-%m-%d %H:%M"; empty when it cannot be read.
std::string FormatMailDate(std::string_view date);

}  // namespace zds

#endif  // ZDS_MAIL_MAIL_MESSAGE_H_
