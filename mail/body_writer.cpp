#include "zds/mail/body_writer.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace zds {
namespace {

// Large enough that handing a batch over is rare next to writing it, small
// enough that the batches in flight are a few hundred messages.
constexpr size_t kBatchBytes = 256 * 1024;
// Batches handed over and not yet taken by the writer: beyond this the
// reader waits. With the one being filled, the one being written and the
// ones written and not yet reused, no more than kBatchesAhead + 2 exist.
constexpr size_t kBatchesAhead = 2;

}  // namespace

// Each entry's stored path followed by its body, one after the other.
struct BodyWriter::Batch {
  struct Entry {
    size_t file_size;
    size_t body_size;
    bool written;
  };
  std::string bytes;
  std::vector<Entry> entries;
  size_t first = 0;  // the number of its first entry
};

BodyWriter::BodyWriter(const platform::DataRoot& root) : root_(root), filling_(std::make_unique<Batch>()) {
  // The writer thread puts written batches here and must not allocate.
  done_.reserve(kBatchesAhead + 2);
  try {
    thread_ = std::thread([this] { Run(); });
  } catch (const std::system_error&) {
    // No thread to be had: Hand writes each batch itself.
  }
}

BodyWriter::~BodyWriter() { StopThread(); }

// The thread writes what is still queued, then ends.
void BodyWriter::StopThread() {
  if (!thread_.joinable()) return;
  {
    std::lock_guard lock(mutex_);
    finishing_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void BodyWriter::Write(std::string_view file, std::string_view body) {
  if (!filling_->entries.empty() && filling_->bytes.size() + file.size() + body.size() > kBatchBytes) Hand();
  filling_->bytes.append(file).append(body);
  filling_->entries.push_back({file.size(), body.size(), false});
  ++count_;
}

std::vector<size_t> BodyWriter::Finish() {
  if (!filling_->entries.empty()) Hand();
  StopThread();
  for (const std::unique_ptr<Batch>& batch : done_) Harvest(*batch);
  done_.clear();
  std::sort(failed_.begin(), failed_.end());
  return std::move(failed_);
}

void BodyWriter::Hand() {
  if (!thread_.joinable()) {
    WriteBatch(*filling_);
    Harvest(*filling_);
    filling_ = FreshBatch(std::move(filling_));
    return;
  }
  std::unique_ptr<Batch> reused;
  {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return ready_.size() < kBatchesAhead; });
    ready_.push_back(std::move(filling_));
    if (!done_.empty()) {
      reused = std::move(done_.back());
      done_.pop_back();
    }
  }
  changed_.notify_all();
  if (reused != nullptr) Harvest(*reused);
  filling_ = FreshBatch(std::move(reused));
}

std::unique_ptr<BodyWriter::Batch> BodyWriter::FreshBatch(std::unique_ptr<Batch> reused) {
  if (reused == nullptr) reused = std::make_unique<Batch>();
  // A batch that carried one large message gives its room back.
  if (reused->bytes.capacity() > 2 * kBatchBytes) reused->bytes = std::string();
  reused->bytes.clear();
  reused->entries.clear();
  reused->first = count_;
  return reused;
}

void BodyWriter::Run() {
  for (;;) {
    std::unique_ptr<Batch> batch;
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return !ready_.empty() || finishing_; });
      if (ready_.empty()) return;
      batch = std::move(ready_.front());
      ready_.pop_front();
    }
    changed_.notify_all();
    WriteBatch(*batch);
    {
      std::lock_guard lock(mutex_);
      done_.push_back(std::move(batch));
    }
  }
}

void BodyWriter::WriteBatch(Batch& batch) {
  size_t at = 0;
  for (Batch::Entry& entry : batch.entries) {
    const std::string_view file(batch.bytes.data() + at, entry.file_size);
    const std::string_view body(batch.bytes.data() + at + entry.file_size, entry.body_size);
    at += entry.file_size + entry.body_size;
    entry.written = WriteOne(file, body);
  }
}

bool BodyWriter::WriteOne(std::string_view file, std::string_view body) {
  const std::string_view directory = platform::StoredDirectoryOf(file);
  // Nothing may leave the writer thread: what fails is a file not written.
  try {
    if (writer_ == nullptr || directory != writer_directory_) {
      writer_ = root_.OpenNewFileWriter(directory);
      writer_directory_.assign(directory);
    }
    return writer_ != nullptr && writer_->Write(file.substr(file.rfind('\\') + 1), body);
  } catch (...) {
    writer_.reset();
    return false;
  }
}

void BodyWriter::Harvest(const Batch& batch) {
  for (size_t i = 0; i < batch.entries.size(); ++i) {
    if (!batch.entries[i].written) failed_.push_back(batch.first + i);
  }
}

}  // namespace zds
