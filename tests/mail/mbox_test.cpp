// mbox in and out: header fields and attachments of hard messages, checked
// against Python's mailbox and email modules where python3 is installed;
// import then export giving the same bytes; bad input stored as well as it
// can be or refused and counted; an import that cannot be saved, and the
// body files a crashed one left behind.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "support/temp_root.h"
#include "zds/mail/mail_message.h"
#include "zds/mail/mbox.h"
#include "zds/platform/file_calls.h"

namespace zds {
namespace {

using test::TempRoot;

class MboxTest : public ::testing::Test {
 protected:
  MboxTest() {
    test::fs::create_directories(temp_.dir() / "box");
    Reopen();
  }
  void Reopen() {
    doc_ = std::make_unique<CMIDLDoc>();
    doc_->SetDataRoot(temp_.root());
    EXPECT_TRUE(IsOpen(OpenVFDLDoc(*doc_, "\\box\\inbox.xml", "\\box")));
  }
  CMboxImportResult Import(const std::string& mbox) {
    std::istringstream in(mbox);
    return ImportMbox(*doc_, in);
  }
  std::string Export() {
    std::ostringstream out;
    EXPECT_TRUE(ExportMbox(*doc_, out));
    return out.str();
  }
  const CMIDLExtendRec& Mail(int index) { return doc_->GetRecByIndex(index)->GetExtendRec(); }

  TempRoot temp_;
  std::unique_ptr<CMIDLDoc> doc_;
};

// Messages with what makes header and MIME reading hard.
const std::string kHardMessages[] = {
    // Folded subject, encoded words of both kinds side by side, a comma in
    // a quoted display name, a folded recipient list.
    "From alice@example.org Tue Nov 24 12:00:00 2026\n"
    "From: \"Doe, John\" <john@example.org>\n"
    "To: =?utf-8?q?J=C3=B6rg?= <j@example.org>,\n  \"Smith, Ann\" <ann@example.org>\n"
    "Cc: =?UTF-8?B?w4lsb2TDrWU=?= <e@example.org>\n"
    "Subject: Re: =?utf-8?q?caf=C3=A9?= =?utf-8?b?IG5vaXI=?=\n and more\n"
    "Date: Tue, 24 Nov 2026 12:00:00 +0000\n"
    "Message-ID: <1@example.org>\n"
    "\n"
    "Plain body.\n",
    // Attachments: an RFC 2231 name in continuations with a charset, a
    // name from Content-Type only, base64 and quoted-printable sizes, a
    // nested multipart.
    "From bob@example.org Tue Nov 24 13:00:00 2026\n"
    "From: =?iso-8859-1?q?Bj=F6rn?= <b@example.org>\n"
    "Subject: files\n"
    "Message-ID: <2@example.org>\n"
    "MIME-Version: 1.0\n"
    "Content-Type: multipart/mixed; boundary=\"outer\"\n"
    "\n"
    "preamble\n"
    "--outer\n"
    "Content-Type: text/plain; charset=utf-8\n"
    "\n"
    "Hello\n"
    "--outer\n"
    "Content-Type: application/pdf\n"
    "Content-Disposition: attachment;\n filename*0*=utf-8''%E2%82%AC%20rep;\n filename*1=\"ort.pdf\"\n"
    "Content-Transfer-Encoding: base64\n"
    "\n"
    "SGVsbG8gd29ybGQh\nQUJD\n"
    "--outer\n"
    "Content-Type: multipart/alternative; boundary=inner\n"
    "\n"
    "--inner\n"
    "Content-Type: text/plain; charset=\"ISO-8859-1\"; name=\"note.txt\"\n"
    "Content-Transfer-Encoding: quoted-printable\n"
    "\n"
    "caf=E9 =\nsoft\n"
    "--inner--\n"
    "--outer--\n",
    // No Date, no Message-ID, a header name in another case.
    "From carol@example.org Wed Nov 25 08:30:00 2026\n"
    "SUBJECT: shouting\n"
    "from: carol@example.org\n"
    "\n"
    "x\n",
};

// Our record as one line, the way the Python side prints its reading.
std::string AsLine(const CMIDLExtendRec& mail) {
  std::string line = mail.subject + "\t" + mail.sender + "\t" + mail.to + "\t" + mail.cc + "\t" + mail.message_id +
                     "\t" + mail.size + "\t";
  for (const CMIDLAttachRec& attachment : mail.attachments) {
    line += attachment.name + "|" + platform::AsciiLowerCase(attachment.charset) + "|" + attachment.size + ";";
  }
  return line;
}

constexpr const char* kPythonReader = R"(import sys, re, mailbox, email
from email.header import decode_header, make_header
def text(msg, name):
    value = msg.get(name)
    if value is None:
        return ''
    value = re.sub(r'\r?\n(?=[ \t])', '', str(value)).strip()
    return str(make_header(decode_header(value)))
out = sys.stdout.buffer
box = mailbox.mbox(sys.argv[1], create=False)
for key in box.keys():
    raw = box.get_bytes(key)
    msg = email.message_from_bytes(raw)
    fields = [text(msg, n) for n in ('Subject', 'From', 'To', 'Cc')]
    fields.append((msg.get('Message-ID') or '').strip())
    fields.append(str(len(raw)))
    parts = ''
    for part in msg.walk():
        name = part.get_filename()
        if name:
            payload = part.get_payload(decode=True) or b''
            parts += '%s|%s|%d;' % (name, part.get_content_charset() or '', len(payload))
    fields.append(parts)
    out.write(('\t'.join(fields) + '\n').encode('utf-8', 'surrogateescape'))
)";

TEST_F(MboxTest, HardMessagesReadAsPythonsMailboxAndEmailModulesReadThem) {
  std::string mbox;
  for (const std::string& message : kHardMessages) mbox += message + "\n";
  const CMboxImportResult result = Import(mbox);
  EXPECT_EQ(std::tie(result.stored, result.refused, result.saved), std::make_tuple(3, 0, true));
  ASSERT_EQ(doc_->GetRecNum(), 3);

  // What the cases are about, checked here whatever Python says.
  EXPECT_EQ(Mail(0).subject, "Re: caf\xC3\xA9 noir and more");
  EXPECT_EQ(Mail(0).sender, "\"Doe, John\" <john@example.org>");
  EXPECT_EQ(Mail(0).to, "J\xC3\xB6rg <j@example.org>,  \"Smith, Ann\" <ann@example.org>");
  EXPECT_EQ(Mail(0).cc, "\xC3\x89lod\xC3\xAD" "e <e@example.org>");
  EXPECT_EQ(Mail(0).send_date, CTime(1795521600).Format("%Y-%m-%d %H:%M"));
  EXPECT_EQ(Mail(0).get_date, CTime(2026, 11, 24, 12, 0, 0).Format("%Y-%m-%d %H:%M"));
  EXPECT_EQ(Mail(1).sender, "Bj\xF6rn <b@example.org>");  // Latin-1 stays Latin-1
  EXPECT_EQ(Mail(1).attach_num, 2);
  ASSERT_EQ(Mail(1).attachments.size(), 2u);
  EXPECT_EQ(Mail(1).attachments[0], (CMIDLAttachRec{"\xE2\x82\xAC report.pdf", "", "15"}));
  EXPECT_EQ(Mail(1).attachments[1], (CMIDLAttachRec{"note.txt", "ISO-8859-1", "9"}));
  EXPECT_EQ(Mail(2).subject, "shouting");
  EXPECT_EQ(Mail(2).send_date, "");
  EXPECT_EQ(Mail(2).size, "45");
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(Mail(i).new_flag);

  if (test::RunProgram("python3", {"-c", "import mailbox, email"}).exit_code != 0) {
    std::cout << "[   NOTE   ] python3 with its mailbox and email modules is not installed: "
                 "the check against them is left out\n";
    return;
  }
  const test::fs::path mbox_file = temp_.top() / "hard.mbox";
  const test::fs::path script = temp_.top() / "read_mbox.py";
  test::WriteNative(mbox_file, mbox);
  test::WriteNative(script, kPythonReader);
  const test::ProgramResult python = test::RunProgram("python3", {script.string(), mbox_file.string()});
  ASSERT_EQ(python.exit_code, 0) << python.err;
  std::string ours;
  for (int i = 0; i < doc_->GetRecNum(); ++i) ours += AsLine(Mail(i)) + "\n";
  // Python decodes Latin-1 to text and writes it as UTF-8.
  std::string theirs = python.out;
  EXPECT_EQ(ours.replace(ours.find("Bj\xF6rn"), 5, "Bj\xC3\xB6rn"), theirs);
}

// Generated messages: words plain and encoded (both kinds, several
// character sequences), folded anywhere between words, display names with
// commas, and attachments named plainly, by RFC 2231 in one piece or in
// continuations.
class HardMessageMaker {
 public:
  explicit HardMessageMaker(uint32_t seed) : random_(seed) {}

  std::string Make(int n) {
    std::string text = "From gen@example.org Tue Nov 24 12:00:00 2026\n";
    text += "From: " + Address() + "\n";
    const std::string first_to = Address();
    text += "To: " + first_to + ",\n " + Address() + "\n";
    text += "Subject: " + Phrase() + "\n";
    text += "Message-ID: <gen." + std::to_string(n) + "@example.org>\n";
    if (Pick(2) == 0) return text + "\nplain " + std::to_string(n) + "\n\n";
    text += "MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=\"b" + std::to_string(n) + "\"\n\n";
    const int parts = 1 + Pick(3);
    for (int i = 0; i < parts; ++i) {
      // One draw per statement: the order operands are evaluated in is the compiler's.
      const bool with_charset = Pick(2) != 0;
      const std::string file_name = FileName();
      text += "--b" + std::to_string(n) + "\nContent-Type: application/octet-stream" +
              (with_charset ? "; charset=\"UTF-8\"" : "") + "\nContent-Transfer-Encoding: base64\n" +
              "Content-Disposition: attachment;\n " + file_name + "\n\n";
      std::string data(static_cast<size_t>(Pick(200)), 'q');
      for (char& c : data) c = static_cast<char>(Pick(256));
      text += Base64(data) + "\n";
    }
    return text + "--b" + std::to_string(n) + "--\n\n";
  }

 private:
  int Pick(int n) { return static_cast<int>(random_() % static_cast<uint32_t>(n)); }
  std::string Word() {
    static const char* const kWords[] = {"caf\xC3\xA9", "na\xC3\xAFve", "\xE2\x82\xAC\x35", "plain", "x-y",
                                         "\xE6\x97\xA5\xE6\x9C\xAC", "Re:", "a&b", "(x)", "\xC3\x85sa"};
    return kWords[Pick(10)];
  }
  static bool Plain(const std::string& word) {
    return std::all_of(word.begin(), word.end(), [](char c) { return c > ' ' && c < 127 && c != '='; });
  }
  std::string Encoded(const std::string& word) {
    if (Pick(2) == 0) return "=?utf-8?b?" + Base64(word) + "?=";
    std::string q = "=?UTF-8?Q?";
    for (unsigned char c : word) {
      static const char kHex[] = "0123456789ABCDEF";
      if (std::isalnum(c)) q += static_cast<char>(c);
      else q += std::string("=") + kHex[c >> 4] + kHex[c & 15];
    }
    return q + "?=";
  }
  std::string Phrase() {
    std::string phrase;
    const int words = 1 + Pick(6);
    for (int i = 0; i < words; ++i) {
      if (i > 0) phrase += Pick(4) == 0 ? "\n " : " ";
      const std::string word = Word();
      phrase += Plain(word) && Pick(2) ? word : Encoded(word);
    }
    return phrase;
  }
  std::string Address() {
    const std::string user = "u" + std::to_string(Pick(1000)) + "@example.org";
    switch (Pick(3)) {
      case 0: return "\"Last, First\" <" + user + ">";
      case 1: {
        const std::string last = Word();
        return Encoded(last + ", " + Word()) + " <" + user + ">";
      }
      default: return user;
    }
  }
  std::string FileName() {
    const std::string word = Word();
    const std::string name = word + " " + std::to_string(Pick(100)) + ".bin";
    std::string escaped;
    for (unsigned char c : name) {
      static const char kHex[] = "0123456789ABCDEF";
      if (std::isalnum(c) || c == '.') escaped += static_cast<char>(c);
      else escaped += std::string("%") + kHex[c >> 4] + kHex[c & 15];
    }
    switch (Pick(3)) {
      case 0: return "filename*=utf-8''" + escaped;
      case 1: {
        size_t cut = escaped.size() / 2;  // between two escapes, never inside one
        if (cut >= 1 && escaped[cut - 1] == '%') cut -= 1;
        else if (cut >= 2 && escaped[cut - 2] == '%') cut -= 2;
        return "filename*0*=utf-8''" + escaped.substr(0, cut) + ";\n filename*1*=" + escaped.substr(cut);
      }
      default: return "filename=\"plain" + std::to_string(Pick(100)) + ".dat\"";
    }
  }
  static std::string Base64(const std::string& data) {
    static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (size_t i = 0; i < data.size(); i += 3) {
      uint32_t bits = static_cast<uint32_t>(static_cast<unsigned char>(data[i])) << 16;
      if (i + 1 < data.size()) bits |= static_cast<uint32_t>(static_cast<unsigned char>(data[i + 1])) << 8;
      if (i + 2 < data.size()) bits |= static_cast<unsigned char>(data[i + 2]);
      out += kAlphabet[(bits >> 18) & 63];
      out += kAlphabet[(bits >> 12) & 63];
      out += i + 1 < data.size() ? kAlphabet[(bits >> 6) & 63] : '=';
      out += i + 2 < data.size() ? kAlphabet[bits & 63] : '=';
    }
    return out;
  }

  std::mt19937 random_;
};

TEST_F(MboxTest, GeneratedHardMessagesReadAsPythonReadsThem) {
  if (test::RunProgram("python3", {"-c", "import mailbox, email"}).exit_code != 0) {
    GTEST_SKIP() << "python3 with its mailbox and email modules is not installed: nothing to check against";
  }
  HardMessageMaker maker(20261124);
  std::string mbox;
  constexpr int kMessages = 60;
  for (int n = 0; n < kMessages; ++n) mbox += maker.Make(n);
  const CMboxImportResult result = Import(mbox);
  ASSERT_EQ(std::tie(result.stored, result.refused), std::make_tuple(kMessages, 0));
  const test::fs::path mbox_file = temp_.top() / "generated.mbox";
  const test::fs::path script = temp_.top() / "read_mbox.py";
  test::WriteNative(mbox_file, mbox);
  test::WriteNative(script, kPythonReader);
  const test::ProgramResult python = test::RunProgram("python3", {script.string(), mbox_file.string()});
  ASSERT_EQ(python.exit_code, 0) << python.err;
  std::istringstream theirs(python.out);
  std::string line;
  int compared = 0;
  for (; std::getline(theirs, line) && compared < kMessages; ++compared) {
    EXPECT_EQ(AsLine(Mail(compared)), line) << "message " << compared;
  }
  EXPECT_EQ(compared, kMessages);
  EXPECT_EQ(Export(), mbox);
}

TEST_F(MboxTest, ImportThenExportGivesTheSameBytes) {
  const std::string kCases[] = {
      // Quoted "From " lines at several depths, a "From" that is no envelope.
      "From a@b Tue Nov 24 12:00:00 2026\nSubject: q\n\n>From here\n>>From there\nFromage\n\n"
      "From a@b Tue Nov 24 12:00:01 2026\nSubject: r\n\nbody\n\n",
      // CR LF lines.
      "From a@b Tue Nov 24 12:00:00 2026\r\nSubject: crlf\r\n\r\nline\r\n\r\n"
      "From a@b Tue Nov 24 12:00:01 2026\r\nSubject: two\r\n\r\nline\r\n\r\n",
      // A truncated last message, without its line end.
      "From a@b Tue Nov 24 12:00:00 2026\nSubject: one\n\nx\n\nFrom a@b Tue Nov 24 12:00:01 2026\nSubject: cut",
      // Binary bytes and NUL in a body, an empty message.
      std::string("From a@b Tue Nov 24 12:00:00 2026\nSubject: bin\n\n\x00\x01\xff\xfe\n\n", 55) +
          "From a@b Tue Nov 24 12:00:01 2026\n\n",
  };
  for (const std::string& mbox : kCases) {
    SCOPED_TRACE(mbox);
    Reopen();
    for (int i = doc_->GetRecNum(); i > 0; --i) ASSERT_TRUE(doc_->DelRec(doc_->GetRecIDByIndex(0)));
    Import(mbox);
    EXPECT_EQ(Export(), mbox);
    Reopen();  // and from the saved index
    EXPECT_EQ(Export(), mbox);
  }
  Reopen();
  const std::string body = temp_.Read("box/inbox/0000/" + doc_->GetRecByIndex(0)->GetID() + ".eml");
  EXPECT_EQ(body.substr(0, 35), "From a@b Tue Nov 24 12:00:00 2026\nS");
}

TEST_F(MboxTest, BadInputIsStoredAsWellAsItCanBeOrRefusedAndCounted) {
  const std::string long_line(1 << 20, 'x');
  const std::string mbox =
      "garbage before any message\n\n"
      "From a@b Tue Nov 24 12:00:00 2026\nno header here, just text\n\n"
      "From a@b Tue Nov 24 12:00:00 2026\nSubject: " + long_line + "\n\nbody\n\n"
      "From a@b Tue Nov 24 12:00:00 2026\nSubject: =?x-unknown?q?caf=E9?=\n\nbody\n\n"
      "From a@b Tue Nov 24 12:00:00 2026\nSubject: broken\nContent-Type: multipart/mixed; boundary=b\n\n"
      "--b\nContent-Type: text/plain; name=a.txt\n\nnever closed\n"
      "From a@b Tue Nov 24 12:00:00 2026\nSubject: =?utf-8?q?unterminated\nDate: yesterday\n\n\x80\x81\n";
  const CMboxImportResult result = Import(mbox);
  EXPECT_EQ(std::tie(result.stored, result.refused, result.saved), std::make_tuple(5, 1, true));
  ASSERT_EQ(doc_->GetRecNum(), 5);
  EXPECT_EQ(Mail(0).subject, "");
  EXPECT_EQ(Mail(0).size, "26");
  EXPECT_EQ(Mail(1).subject.size(), long_line.size());
  EXPECT_EQ(Mail(2).subject, "caf\xE9");  // the bytes, in whatever character set they are
  ASSERT_EQ(Mail(3).attachments.size(), 1u);
  EXPECT_EQ(Mail(3).attachments[0].name, "a.txt");
  EXPECT_EQ(Mail(4).subject, "=?utf-8?q?unterminated");
  EXPECT_EQ(Mail(4).send_date, "yesterday");

  // A second import adds to what is there.
  EXPECT_EQ(Import("From a@b Tue Nov 24 12:00:00 2026\nSubject: more\n\n").stored, 1);
  Reopen();
  EXPECT_EQ(doc_->GetRecNum(), 6);
  EXPECT_EQ(Mail(5).subject, "more");
}

// The delivery time comes from the "From " line's day, clock and year
// after the month; anything else there gives none rather than a wrong one.
TEST_F(MboxTest, DeliveryTimesAreReadFromTheEnvelope) {
  const auto format = [](int y, int mo, int d, int h, int mi) {
    return CTime(y, mo, d, h, mi, 0).Format("%Y-%m-%d %H:%M");
  };
  const struct {
    const char* envelope;
    std::string time;
  } cases[] = {
      {"From a@b Tue Nov 24 12:00:00 2026", format(2026, 11, 24, 12, 0)},
      {"From a@b Sat Jan  3 01:05 1996", format(1996, 1, 3, 1, 5)},         // no seconds, a doubled blank
      {"From a@b Tue Nov 31 23:59:59 2026", format(2026, 12, 1, 23, 59)},   // normalised as the clock does
      {"From a@b Tue Nov 24 12:00:00 +0100 2026", ""},                      // a zone where the year belongs
      {"From a@b Tue Nov 24 noon 2026", ""},
      {"From a@b Tue Nov 24 12 2026", ""},
      {"From a@b Tue Nov 24 12:00:00 1969", ""},
      {"From a@b", ""},
  };
  std::string mbox;
  for (const auto& c : cases) mbox += std::string(c.envelope) + "\nSubject: s\n\n";
  ASSERT_EQ(Import(mbox).stored, static_cast<int>(std::size(cases)));
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(cases[i].envelope);
    EXPECT_EQ(Mail(static_cast<int>(i)).get_date, cases[i].time);
  }
}

TEST_F(MboxTest, AnImportThatCannotBeSavedLeavesTheFolderAsItWas) {
  ASSERT_EQ(Import("From a@b Tue Nov 24 12:00:00 2026\nSubject: kept\n\n").stored, 1);
  // Just before the index's new text takes its name, the file turns into
  // a directory: the save fails after every body was written.
  CMboxImportResult result;
  {
    platform::ScopedFileCallObserver block([&](const platform::FileCall& call) {
      const bool rename = call.call == "renameat" || call.call == "NtSetInformationFile";
      if (!rename || call.name != "inbox.xml") return;
      test::fs::remove(temp_.dir() / "box" / "inbox.xml");
      test::fs::create_directory(temp_.dir() / "box" / "inbox.xml");
    });
    result = Import("From a@b Tue Nov 24 12:00:00 2026\nSubject: lost\n\nFrom a@b Tue Nov 24 12:00:00 2026\n\n");
  }
  EXPECT_EQ(std::tie(result.stored, result.refused, result.saved), std::make_tuple(0, 2, false));
  EXPECT_EQ(doc_->GetRecNum(), 1);
  EXPECT_EQ(Mail(0).subject, "kept");
  EXPECT_EQ(temp_.Files(), (std::vector<std::string>{"root/box/inbox/0000/0001.eml"}));
}

TEST_F(MboxTest, AMessageWhoseBodyCannotBeWrittenIsRefusedAndTheRestKept) {
  // Bodies 256 and on go to the group "0001", where a file stands.
  temp_.Write("box/inbox/0001", "in the way");
  std::string mbox;
  for (int n = 1; n <= 260; ++n) mbox += "From a@b Tue Nov 24 12:00:00 2026\nSubject: " + std::to_string(n) + "\n\n";
  const CMboxImportResult result = Import(mbox);
  EXPECT_EQ(std::tie(result.stored, result.refused, result.saved), std::make_tuple(255, 5, true));
  Reopen();
  ASSERT_EQ(doc_->GetRecNum(), 255);
  EXPECT_EQ(Mail(254).subject, "255");
  std::string body;
  EXPECT_TRUE(doc_->ReadRecMail(doc_->GetRecIDByIndex(254), body));
  EXPECT_EQ(body, "From a@b Tue Nov 24 12:00:00 2026\nSubject: 255\n");
}

TEST_F(MboxTest, AnImportIntoAFolderAnotherWriterChangedTouchesNothingOfTheirs) {
  CMIDLDoc other;
  other.SetDataRoot(temp_.root());
  ASSERT_TRUE(IsOpen(OpenVFDLDoc(other, "\\box\\inbox.xml", "\\box")));
  std::istringstream theirs("From a@b Tue Nov 24 12:00:00 2026\nSubject: theirs\n\n");
  ASSERT_TRUE(ImportMbox(other, theirs).saved);
  // This document still knows the folder empty: the ids it would hand out
  // are the other writer's, and their bodies no leftovers.
  const CMboxImportResult result = Import("From a@b Tue Nov 24 12:00:00 2026\nSubject: mine\n\n");
  EXPECT_EQ(std::tie(result.stored, result.saved), std::make_tuple(0, false));
  EXPECT_EQ(doc_->GetLastSaveStatus(), SaveStatus::kConflict);
  EXPECT_EQ(temp_.Read("box/inbox/0000/0001.eml"), "From a@b Tue Nov 24 12:00:00 2026\nSubject: theirs\n");
  ASSERT_EQ(doc_->Reload(), OpenResult::kLoaded);
  EXPECT_EQ(Import("From a@b Tue Nov 24 12:00:00 2026\nSubject: mine\n\n").stored, 1);
  EXPECT_EQ(temp_.Read("box/inbox/0000/0002.eml"), "From a@b Tue Nov 24 12:00:00 2026\nSubject: mine\n");
}

TEST_F(MboxTest, BodyFilesACrashedImportLeftAreTakenAwayOrWrittenAnew) {
  // As a crash after writing three bodies and before saving the index
  // leaves them; 0009 is no leftover of an import.
  for (const std::string id : {"0001", "0002", "0003", "0009"}) temp_.Write("box/inbox/0000/" + id + ".eml", "stale");
  ASSERT_EQ(Import("From a@b Tue Nov 24 12:00:00 2026\nSubject: new\n\n").stored, 1);
  EXPECT_EQ(temp_.Read("box/inbox/0000/0001.eml"), "From a@b Tue Nov 24 12:00:00 2026\nSubject: new\n");
  EXPECT_EQ(temp_.Files(), (std::vector<std::string>{"root/box/inbox.xml", "root/box/inbox/0000/0001.eml",
                                                     "root/box/inbox/0000/0009.eml"}));
}

TEST_F(MboxTest, BodiesAreKeptInGroupsBesideTheIndex) {
  EXPECT_EQ(doc_->GetMailFilePath("0042"), "\\box\\inbox\\0000\\0042.eml");
  EXPECT_EQ(doc_->GetMailFilePath("kov:\\Mail Folder\\1000"), "\\box\\inbox\\0003\\1000.eml");
  ASSERT_TRUE(doc_->WriteRecMail("1000", "text"));
  std::string out;
  EXPECT_TRUE(doc_->ReadRecMail("1000", out));
  EXPECT_EQ(out, "text");
  EXPECT_FALSE(doc_->ReadRecMail("1001", out));
  CMIDLDoc unsaved;
  EXPECT_EQ(unsaved.GetMailFilePath("0001"), "");
}

TEST(MailDateTest, DatesReadInTheirUsualForms) {
  const std::tuple<const char*, int64_t> kCases[] = {
      {"Tue, 24 Nov 2026 12:00:00 +0000", 1795521600},
      {"24 Nov 2026 13:30 +0130", 1795521600},
      {"Tue, 24 Nov 2026 07:00:00 EST", 1795521600},
      {"Tue, 24 Nov 26 12:00:00 GMT", 1795521600},
      {"Tuesday,  24  nov 2026 12:00:00 -0000 (UTC)", 1795521600},
  };
  for (const auto& [text, utc] : kCases) EXPECT_EQ(FormatMailDate(text), CTime(utc).Format("%Y-%m-%d %H:%M")) << text;
  for (const char* bad : {"", "yesterday", "32 Nov 2026 12:00", "24 Foo 2026 12:00", "24 Nov 2026"}) {
    EXPECT_EQ(FormatMailDate(bad), "") << bad;
  }
  EXPECT_EQ(DecodeEncodedWords("a =?utf-8?q?b?= =?utf-8?q?c?=  d =?bad"), "a bc  d =?bad");
}

}  // namespace
}  // namespace zds
