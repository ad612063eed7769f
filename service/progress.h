#pragma once
// Progress reporting of the readers.
//
// A reader reports how far it is through a CIProgressCallback and stops when the
// sink answers false. A stage that stands for only a part of its caller's range
// wraps the caller's sink in a CSubProgress: the stage counts against a range of
// its own, and every amount it reports reaches the parent rescaled into the share
// of the parent's range that the stage was given. Sinks are never owned by the
// objects that report to them.
#include "platform/common/sherdglobal.h"

// The sink a reader reports to. It has no fields, and its slots come in this
// fixed order: initRange, range, progress, finish, download. It is not deleted
// through this interface (the destructor is protected and not virtual); whoever
// created a sink destroys it through its own type.
class SHERD_EXPORT CIProgressCallback {
public:
  // Starts a new range; the amount done falls back to zero.
  virtual void initRange(int range) = 0;
  // The current range.
  virtual int range() = 0;
  // Adds an amount done; false asks the caller to stop.
  virtual bool progress(double amount) = 0;
  // Reports whatever is left of the range; false asks the caller to stop.
  virtual bool finish() = 0;
  // A notice that a download starts (true) or ends (false).
  virtual void download(bool begin) = 0;

protected:
  CIProgressCallback() = default;
  CIProgressCallback(const CIProgressCallback&) = default;
  CIProgressCallback& operator=(const CIProgressCallback&) = default;
  ~CIProgressCallback() = default;
};

// A share of a parent's range. Driving a sub-range from 0 to its own range hands
// exactly `share` to the parent however many steps it takes; finish() tops the
// parent up to the full share when a stage ends early. initRange() starts over
// and so hands a further full share to the parent, which lets one stage object
// be reused for several passes. The parent may be null; then every report
// succeeds.
class SHERD_EXPORT CSubProgress : public CIProgressCallback {
public:
  CSubProgress(CIProgressCallback* parent, int share);
  CSubProgress(const CSubProgress&) = default;
  CSubProgress& operator=(const CSubProgress&) = default;
  ~CSubProgress() = default;

  // range 0 is taken as 1, so that the rescaling never divides by zero.
  void initRange(int range) override;
  int range() override;
  // Adds the amount, cut so that done never passes the range, and passes
  // step / range * share to the parent. The amount counts as done even when
  // the parent asks to stop.
  bool progress(double amount) override;
  bool finish() override;
  void download(bool begin) override;

private:
  CIProgressCallback* m_parent; // not owned
  int m_range;
  int m_share;
  double m_done;
};
