// The same cases for QtPrinterSystem and for FakePrinters, the double the other printing
// tests run on: where the double answers otherwise, those tests prove nothing of the program.
#include <gtest/gtest.h>

#include <type_traits>

#include "core/VError.h"
#include "print/qt/QtPrinterSystem.h"
#include "tests/print/RecordingSurface.h"
#include "tests/support/TempDir.h"

namespace velnor {
namespace {

const std::vector<std::string> kStation = {"Office Laser", "Radio Room"};

struct FakeRig {
  explicit FakeRig(const std::vector<std::string>& names) {
    for (const std::string& n : names) printers.installed.push_back({n});
  }
  test::FakePrinters printers;
};

// No names: the system's own list, which the test environment keeps empty (no print server).
struct QtRig {
  explicit QtRig(const std::vector<std::string>& names) {
    if (names.empty()) return;
    printers.setPrinterLister([names] {
      QList<QtPrinterSystem::SystemPrinter> list;
      for (const std::string& n : names)
        list.push_back({QString::fromStdString(n), QPageSize(QPageSize::A4)});
      return list;
    });
  }
  testing::TempDir dir;
  QtPrinterSystem printers{nullptr, QString::fromStdString(dir.path())};
};

template <class Rig>
class PrinterContract : public ::testing::Test {};

struct RigName {
  template <class Rig>
  static std::string GetName(int) {
    return std::is_same_v<Rig, FakeRig> ? "Fake" : "Qt";
  }
};
using Rigs = ::testing::Types<FakeRig, QtRig>;
TYPED_TEST_SUITE(PrinterContract, Rigs, RigName);

// Only the name other programs would print on fails: the PDF printer is current.
TYPED_TEST(PrinterContract, WithNoPrinterInstalledThePdfPrinterIsCurrent) {
  TypeParam rig({});
  PrinterSystem& p = rig.printers;
  EXPECT_EQ(p.InstalledPrinters(), std::vector<std::string>{"PDF file"});
  EXPECT_EQ(p.CurrentDeviceName(), "PDF file");
  EXPECT_THROW(p.CurrentSystemPrinterName(), VError);
  EXPECT_EQ(p.Orientation(), kOrientationPortrait);
  EXPECT_EQ(p.Copies(), 1);
  EXPECT_TRUE(p.CurrentOutputFile().ends_with("/ICS213.pdf")) << p.CurrentOutputFile();
  EXPECT_FALSE(p.SetPrinterByName("Office Laser"));
  EXPECT_THROW(p.MakeCurrent(1), VError);
  EXPECT_EQ(p.CurrentDeviceName(), "PDF file");
}

// Listed in the platform's order, the PDF printer last; the first is current to begin with.
TYPED_TEST(PrinterContract, ListsThePrintersAndAChosenOneComesBackWithItsOwnSettings) {
  TypeParam rig(kStation);
  PrinterSystem& p = rig.printers;
  EXPECT_EQ(p.InstalledPrinters(), (std::vector<std::string>{"Office Laser", "Radio Room", "PDF file"}));
  EXPECT_EQ(p.CurrentSystemPrinterName(), "Office Laser");
  EXPECT_EQ(p.Orientation(), kOrientationPortrait);
  EXPECT_EQ(p.Copies(), 1);
  EXPECT_EQ(p.CurrentOutputFile(), "");
  p.MakeCurrent(1);
  EXPECT_EQ(p.CurrentDeviceName(), "Radio Room");
  p.SetOrientation(kOrientationLandscape);
  p.SetCopies(3);
  EXPECT_THROW(p.SetOrientation(3), VError);
  EXPECT_THROW(p.SetCopies(0), VError);
  EXPECT_TRUE(p.SetPrinterByName("Office Laser"));
  EXPECT_EQ(p.Orientation(), kOrientationPortrait);
  EXPECT_EQ(p.Copies(), 1);
  for (const char* name : {"radio room", "Radio Room ", ""}) EXPECT_FALSE(p.SetPrinterByName(name)) << name;
  EXPECT_EQ(p.CurrentDeviceName(), "Office Laser");
  EXPECT_TRUE(p.SetPrinterByName("Radio Room"));
  EXPECT_EQ(p.Orientation(), kOrientationLandscape);
  EXPECT_EQ(p.Copies(), 3);

  EXPECT_TRUE(p.SetPrinterByName("PDF file"));
  EXPECT_THROW(p.CurrentSystemPrinterName(), VError);
  EXPECT_FALSE(p.CurrentOutputFile().empty());
  EXPECT_THROW(p.MakeCurrent(3), VError);
  EXPECT_EQ(p.CurrentDeviceName(), "PDF file");
}

}  // namespace
}  // namespace velnor
