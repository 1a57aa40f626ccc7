// The ICS 213 page as drawing calls, and the print command around it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "print/IcsPrint.h"
#include "print/PrintCommand.h"
#include "tests/print/RecordingSurface.h"

namespace velnor {
namespace {

using test::FakePrinters;

// clang-format off
const FormTexts kTexts{{"Planning Section Chief", "PSC", "Net Control", "Radio Operator", "Shelter count",
                        "03/14/2024 09:30", "Shelter at Lincoln School has 42 occupants.", "J. Rivera",
                        "Shelter Manager", "River Flood", "Acknowledged.", "K. Osei", "PSC", "03/14/2024 09:45"}};
// clang-format on

std::vector<std::string> Draw(const FormTexts& t) {
  FakePrinters printers;
  IcsPrint(printers, "1.0.0").PrintIcs(t);
  return printers.ops;
}

// The whole page, one drawn text a line (its font, position and text), each frame line on
// its own (VELNOR_WRITE_GOLDEN=<file> writes the file anew).
TEST(IcsPrintLayout, PagesAreTheGoldenDrawings) {
  std::string page;
  for (const std::string& op : Draw(kTexts)) {
    const bool joined = op.rfind("pos ", 0) == 0 || op.rfind("x ", 0) == 0 || op.rfind("text ", 0) == 0;
    page += (page.empty() ? "" : joined ? " | " : "\n") + op;
  }
  page += "\n";
  if (const char* keep = std::getenv("VELNOR_WRITE_GOLDEN")) std::ofstream(keep, std::ios::binary) << page;
  std::ifstream golden(VELNOR_ICS213_GOLDEN, std::ios::binary);
  EXPECT_EQ(page, std::string(std::istreambuf_iterator<char>(golden), {}));
}

std::string Rep(char c, std::size_t n) { return std::string(n, c); }

TEST(IcsPrintBody, WrapsAt80Characters) {
  // Two words of 39 letters, each with its blank: 80 characters.
  const std::string k80 = Rep('a', 39) + " " + Rep('b', 39) + " ", kLong = Rep('X', 100);
  const struct {
    const char* name;
    std::string body;
    std::vector<std::string> lines;
  } rows[] = {
      {"Exactly80KeepsBlanks", "  a" + Rep(' ', 10) + Rep('b', 67), {"  a" + Rep(' ', 10) + Rep('b', 67)}},
      {"Over81TrailingBlanksOnly", k80 + " ", {k80}},
      {"Over80BlanksOnlyStaysAnEmptyLine", Rep(' ', 81) + "\r\nb", {"", "b"}},
      {"WordFillsTo80ThenBlank",
       Rep('a', 39) + " " + Rep('b', 40) + " c",
       {Rep('a', 39) + " " + Rep('b', 40) + " ", "c "}},
      {"LongWordAloneNoEmptyLineBefore", kLong, {kLong + " "}},
      {"LongWordBetweenBlankRuns", "ab  " + kLong + Rep(' ', 50) + "cd", {"ab ", kLong + " ", "cd "}},
      {"CrLfOrCrEndLinesLfIsDropped", "first\r\nsecond\rthird\nfourth", {"first", "second", "thirdfourth"}},
      {"EmptyLinesKeptAndEndsInCr", "a\r\n\r\nb\r", {"a", "", "b", ""}},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.name);
    FormTexts t = kTexts;
    t[Field::Message] = r.body;
    // The message's lines, each placed at x 13 under the first.
    const std::vector<std::string> ops = Draw(t);
    std::vector<std::string> lines;
    auto i = std::find(ops.begin(), ops.end(), "pos 13 69");
    ASSERT_NE(i, ops.end());
    for (++i; *i == "x 13"; i += 2) lines.push_back(i[1].substr(5));
    EXPECT_EQ(lines, r.lines);
  }
}

// The dialog's choice is for this page only: the printer in use before comes back, by its
// exact name, with its own settings.
TEST(PrintCommand, PrintsAsTypedOnTheChosenPrinterThenPutsThePreviousOneBack) {
  FakePrinters printers;
  printers.installed = {{"Office Laser", kOrientationLandscape, 2}, {"Radio Room"}, {"office laser"}};
  IcsPrint form(printers, "1.0.0");
  FormTexts fields;
  std::vector<std::string> statuses;
  const auto print = [&] {
    PrintMessage(
        7, {form, printers, [&](const std::string& s) { statuses.push_back(s); }, [&] { return fields; }});
  };
  print();  // the fake's dialog cancels unless told otherwise
  EXPECT_EQ(printers.dialogFlags, std::vector<std::uint32_t>{kPrintDialogFlags});
  EXPECT_EQ(printers.surfacesOpened, 0);

  printers.dialog = [&](FakePrinters& p) {
    p.SetOrientation(kOrientationPortrait);
    p.SetCopies(5);
    p.MakeCurrent(1);
    fields[Field::To] = "Edited, not saved";  // the texts are read after the dialog
    return true;
  };
  print();
  EXPECT_EQ(statuses, (std::vector<std::string>{"Printing message to Radio Room",
                                                "Printing message to Radio Room... sent to the printer"}));
  EXPECT_NE(std::find(printers.ops.begin(), printers.ops.end(), "text Edited, not saved"),
            printers.ops.end());
  EXPECT_EQ(printers.current, 0u);
  EXPECT_EQ(printers.Orientation(), kOrientationLandscape);
  EXPECT_EQ(printers.Copies(), 2);

  // A job that fails says so and leaves the chosen printer current.
  printers.failEnd = true;
  print();
  EXPECT_EQ(statuses.at(3).rfind("Printing message to Radio Room... failed", 0), 0u) << statuses[3];
  EXPECT_EQ(printers.CurrentDeviceName(), "Radio Room");
}

}  // namespace
}  // namespace velnor
