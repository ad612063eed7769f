// The service across threads, as the desktop host drives it: a load on a
// worker thread while the window's thread asks for a shutdown or destroys the
// service. Written for ThreadSanitizer (make test-tsan) as much as for the
// outcomes it checks.
#include "service/whatsappservice.h"

#include "model/oxbackup.h"
#include "model/oxdata.h"
#include "platform/common/log.h"
#include "samples/samplebackup.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace {
// A one-shot latch: the worker says where it is, the other thread waits for it.
class Latch {
public:
  void open() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_open = true;
    m_cond.notify_all();
  }
  void wait() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_cond.wait(lock, [this] { return m_open; });
  }

private:
  std::mutex m_mutex;
  std::condition_variable m_cond;
  bool m_open = false;
};

class ServiceThreads : public ::testing::Test {
protected:
  void SetUp() override {
    SherdLog::silence();
    ASSERT_TRUE(dir.isValid());
    folder = QDir(dir.path()).filePath(QStringLiteral("sample"));
    QString error;
    ASSERT_TRUE(fixture::writeSampleBackup(folder, QString(), &error)) << qPrintable(error);
  }
  void TearDown() override { SherdLog::toStderr(); }

  QTemporaryDir dir;
  QString folder;
};

TEST_F(ServiceThreads, DestructionFromAnotherThreadWaitsForTheLoad) {
  auto* service = new WhatsappService(folder, false);
  Latch begun;
  std::atomic<bool> ended{false};
  std::thread worker([&] {
    service->onBeginLoadWhatsappOnly();
    begun.open();
    for (int type = 0; type < OxBackup::DataTypeCount; ++type)
      service->loadWhatsappOnly(type);
    ended = true;
    service->onEndLoadWhatsappOnly();
  });
  begun.wait();
  delete service; // returns only once the worker has ended its load
  EXPECT_TRUE(ended.load());
  worker.join();
}

TEST_F(ServiceThreads, ShutdownFromAnotherThreadNeverBreaksARunningLoad) {
  WhatsappService service(folder, false);
  Latch begun;
  std::thread worker([&] {
    service.onBeginLoadWhatsappOnly();
    begun.open();
    for (int type = 0; type < OxBackup::DataTypeCount; ++type)
      service.loadWhatsappOnly(type);
    service.onEndLoadWhatsappOnly();
  });
  begun.wait();
  service.shutdownService();
  worker.join();
  // A shutdown does not interrupt a load that has begun: every list is there.
  EXPECT_GT(service.getOxData(OxBackup::WhatsApp)->count(OxData::CountRaw), 0);
  EXPECT_GT(service.msgSessionCount(), 0u);
}
} // namespace
