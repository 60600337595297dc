// The body files of a mail import, written on a thread of their own. Making
// a file is most of what an import costs, and that is the system's work,
// not ours: done beside reading the next messages it costs the import
// little more than the reading. Bodies are handed over in batches of
// bounded size, a few at most in flight, so memory stays bounded by the
// largest message whatever the size of the file imported. Files are written
// in the order given, one directory after the other as an import fills
// them, none durable before DataRoot::FlushWrittenFiles. Where no thread
// can be started they are written in the caller's thread, the same way.

#ifndef ZDS_MAIL_BODY_WRITER_H_
#define ZDS_MAIL_BODY_WRITER_H_

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "zds/platform/files.h"

namespace zds {

class BodyWriter {
 public:
  explicit BodyWriter(const platform::DataRoot& root);
  ~BodyWriter();
  BodyWriter(const BodyWriter&) = delete;
  BodyWriter& operator=(const BodyWriter&) = delete;

  // Queues `body` for the new file at the stored path `file`; waits while
  // the batches before it are still to be written.
  void Write(std::string_view file, std::string_view body);
  // Waits until every body queued has been written or has failed, and
  // gives the numbers of those that failed (counting the calls of Write
  // from 0), in order. The last call: Write must not follow it.
  std::vector<size_t> Finish();

 private:
  struct Batch;

  void Hand();
  void StopThread();
  void Run();
  void WriteBatch(Batch& batch);
  bool WriteOne(std::string_view file, std::string_view body);
  void Harvest(const Batch& batch);
  std::unique_ptr<Batch> FreshBatch(std::unique_ptr<Batch> reused);

  const platform::DataRoot& root_;
  std::unique_ptr<Batch> filling_;
  size_t count_ = 0;
  std::vector<size_t> failed_;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::unique_ptr<Batch>> ready_;  // under mutex_
  std::vector<std::unique_ptr<Batch>> done_;  // under mutex_
  bool finishing_ = false;                    // under mutex_
  std::thread thread_;

  // The writer thread's own.
  std::unique_ptr<platform::NewFileWriter> writer_;
  std::string writer_directory_;
};

}  // namespace zds

#endif  // ZDS_MAIL_BODY_WRITER_H_
