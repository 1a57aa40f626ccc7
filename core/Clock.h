#pragma once
// The current local date and time as an OLE Automation date (days since 30 Dec 1899,
// time of day as the fraction). Tests use a fixed clock, never the wall clock.
namespace velnor {

class Clock {
 public:
  virtual ~Clock() = default;
  virtual double now() const = 0;
};

class SystemClock : public Clock {
 public:
  double now() const override;
};

class FixedClock : public Clock {
 public:
  explicit FixedClock(double t) : value(t) {}
  double now() const override { return value; }
  double value;
};

}  // namespace velnor
