// A host program built against the installed package: it only links and calls
// a few exported entry points.
#include <platform/common/commonutils.h>
#include <platform/common/log.h>

#include <cstdio>

int main() {
  SherdLog::silence();
  Log("host", 0, "not shown %d", 1);
  const QDateTime d = CCommonUtils::buildDateTimeBase2001(qint64(0));
  if (d.toSecsSinceEpoch() != 978307200)
    return 1;
  std::puts("linked");
  return 0;
}
