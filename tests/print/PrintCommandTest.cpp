#include <gtest/gtest.h>

#include <algorithm>

#include "print/IcsPrint.h"
#include "print/PrintCommand.h"
#include "tests/print/RecordingSurface.h"

namespace velnor {
namespace {

using test::FakePrinters;

TEST(PrintCommand, PrintsAsTypedOnTheChosenPrinterThenPutsThePreviousOneBack) {
  FakePrinters printers;
  printers.installed = {{"Office Laser", kOrientationLandscape, 2}, {"Radio Room"}, {"office laser"}};
  IcsPrint form(printers, "1.0.0");
  FormTexts fields;
  std::vector<std::string> statuses;
  int fieldReads = 0;
  const auto print = [&](std::int32_t msgNo) {
    PrintMessage(msgNo, {form, printers, [&](const std::string& s) { statuses.push_back(s); },
                         [&] {
                           ++fieldReads;
                           return fields;
                         }});
  };
  // With no message nothing is asked; a cancel prints nothing and reads nothing.
  print(0);
  EXPECT_TRUE(printers.dialogFlags.empty());
  print(7);  // the fake's dialog cancels unless told otherwise
  EXPECT_EQ(printers.dialogFlags, std::vector<std::uint32_t>{kPrintDialogFlags});
  EXPECT_EQ(printers.surfacesOpened, 0);
  EXPECT_TRUE(statuses.empty());
  EXPECT_EQ(fieldReads, 0);

  printers.dialog = [&](FakePrinters& p) {
    // Settings changed on the way, then another printer picked: all for this page only.
    p.SetOrientation(kOrientationPortrait);
    p.SetCopies(5);
    p.MakeCurrent(1);
    p.SetCopies(3);
    fields[Field::To] = "Edited, not saved";  // the texts are read after the dialog
    return true;
  };
  print(7);
  EXPECT_EQ(statuses, (std::vector<std::string>{"Printing message to Radio Room",
                                                "Printing message to Radio Room... sent to the printer"}));
  EXPECT_EQ(printers.ops.back(), "end");
  EXPECT_NE(std::find(printers.ops.begin(), printers.ops.end(), "text Edited, not saved"),
            printers.ops.end());
  // The exact name wins over the one differing only in case; settings come back too.
  EXPECT_EQ(printers.current, 0u);
  EXPECT_EQ(printers.Orientation(), kOrientationLandscape);
  EXPECT_EQ(printers.Copies(), 2);
  EXPECT_EQ(printers.installed[1].copies, 3);

  // A job that fails says so and leaves the chosen printer current.
  printers.failEnd = true;
  print(7);
  EXPECT_EQ(statuses.at(3).rfind("Printing message to Radio Room... failed", 0), 0u) << statuses[3];
  EXPECT_EQ(printers.CurrentDeviceName(), "Radio Room");
}

}  // namespace
}  // namespace velnor
