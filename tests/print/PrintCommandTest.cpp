#include <gtest/gtest.h>

#include <algorithm>

#include "print/IcsPrint.h"
#include "print/PrintCommand.h"
#include "tests/print/RecordingSurface.h"

namespace velnor {
namespace {

using test::FakePrinters;

class PrintCommand : public ::testing::Test {
 protected:
  PrintCommand() {
    printers.installed = {{"Office Laser"}, {"Radio Room"}, {"office laser"}};
    printers.current = 0;
    printers.installed[0].orientation = kOrientationLandscape;
    printers.installed[0].copies = 2;
    // clang-format off
    fields = {"Logistics", "LSC", "Net Control", "Radio", "Water", "03/14/2024 10:00",
              "Need 200 gallons.", "J. Rivera", "Shelter Manager", "River Flood", "", "", "", ""};
    // clang-format on
  }

  void Print(std::int32_t msgNo) {
    PrintMessage(msgNo, {form, printers, [this](const std::string& s) { statuses.push_back(s); },
                         [this] {
                           ++fieldReads;
                           return fields;
                         }});
  }

  FakePrinters printers;
  IcsPrint form{printers, "1.0.0"};
  FormTexts fields;
  std::vector<std::string> statuses;
  int fieldReads = 0;
};

// With no message nothing is asked; a cancel prints nothing and changes nothing.
TEST_F(PrintCommand, NoMessageAsksNothingAndCancelChangesNothing) {
  Print(0);
  EXPECT_TRUE(printers.dialogFlags.empty());
  Print(7);  // the fake's dialog cancels unless told otherwise
  EXPECT_EQ(printers.dialogFlags, std::vector<std::uint32_t>{kPrintDialogFlags});
  EXPECT_EQ(printers.surfacesOpened, 0);
  EXPECT_TRUE(statuses.empty());
  EXPECT_EQ(fieldReads, 0);
  EXPECT_EQ(printers.CurrentDeviceName(), "Office Laser");
  EXPECT_EQ(printers.Orientation(), kOrientationLandscape);
  EXPECT_EQ(printers.Copies(), 2);
}

TEST_F(PrintCommand, PrintsAsTypedOnChosenPrinterThenRestoresThePreviousOne) {
  printers.dialog = [this](FakePrinters& p) {
    // Settings changed on the way, then another printer picked: all for this page only.
    p.SetOrientation(kOrientationPortrait);
    p.SetCopies(5);
    p.MakeCurrent(1);
    p.SetCopies(3);
    fields[Field::To] = "Edited, not saved";  // the texts are read after the dialog
    return true;
  };
  Print(7);
  EXPECT_EQ(statuses, (std::vector<std::string>{"Printing message to Radio Room",
                                                "Printing message to Radio Room... sent to the printer"}));
  EXPECT_EQ(printers.surfacesOpened, 1);
  EXPECT_EQ(printers.ops.back(), "end");
  EXPECT_EQ(fieldReads, 1);
  EXPECT_NE(std::find(printers.ops.begin(), printers.ops.end(), "text Edited, not saved"),
            printers.ops.end());

  // The exact name wins over the one differing only in case; settings come back too.
  EXPECT_EQ(printers.current, 0u);
  EXPECT_EQ(printers.Orientation(), kOrientationLandscape);
  EXPECT_EQ(printers.Copies(), 2);
  EXPECT_EQ(printers.installed[1].copies, 3);
}

TEST_F(PrintCommand, FailureWhilePrintingSkipsTheRestore) {
  printers.dialog = [](FakePrinters& p) {
    p.MakeCurrent(1);
    return true;
  };
  printers.failEnd = true;
  Print(7);
  EXPECT_EQ(statuses.at(1).rfind("Printing message to Radio Room... failed", 0), 0u) << statuses[1];
  EXPECT_EQ(printers.CurrentDeviceName(), "Radio Room");
}

TEST_F(PrintCommand, SetupUsesSetupFlagsAndItsChoiceIsRestoredAfterPrint) {
  printers.dialog = [](FakePrinters& p) {
    p.MakeCurrent(1);
    p.SetOrientation(kOrientationLandscape);
    return true;
  };
  PrintSetup(printers);
  EXPECT_EQ(printers.dialogFlags, std::vector<std::uint32_t>{kPrintSetupFlags});
  EXPECT_EQ(printers.surfacesOpened, 0);

  printers.dialog = [](FakePrinters& p) {
    EXPECT_EQ(p.CurrentDeviceName(), "Radio Room");
    p.MakeCurrent(3);
    return true;
  };
  Print(7);
  EXPECT_EQ(statuses.back(), "Printing message to PDF file... saved as /home/op/ICS213.pdf");
  EXPECT_EQ(printers.CurrentDeviceName(), "Radio Room");
  EXPECT_EQ(printers.Orientation(), kOrientationLandscape);
}

}  // namespace
}  // namespace velnor
