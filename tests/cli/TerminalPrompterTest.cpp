#include "TerminalPrompter.h"

#include <gtest/gtest.h>

#include <sstream>

namespace convora::cli {
namespace {

constexpr Question kUnknown{"unknown", "Unknown Data File", "Convert it?"};
constexpr InputRequest kInterval{"interval", "Please enter the interval", "Interval", "1000"};

TEST(TerminalPrompter, OptionsAnswerBeforeAnyoneIsAsked) {
  std::istringstream in("n\n");
  std::ostringstream err;
  TerminalPrompter prompter(in, err, true);
  prompter.SetInputAnswers({{"interval", "50"}});
  prompter.SetChoice("unknown", true);
  EXPECT_EQ(prompter.AskInput(kInterval), "50");
  EXPECT_TRUE(prompter.AskYesNo(kUnknown));
  EXPECT_EQ(err.str(), "Unknown Data File: Convert it?\n");  // the question is still shown
}

TEST(TerminalPrompter, OnlyATerminalIsAskedAndThereEnterTakesTheDefault) {
  std::istringstream in("Yes\n75\r\n\n");
  std::ostringstream offlineErr, err;
  // Without a terminal: the default, or No / Cancel, and nothing is read.
  TerminalPrompter offline(in, offlineErr, false);
  EXPECT_EQ(offline.AskInput(kInterval), "1000");
  EXPECT_FALSE(offline.AskYesNo(kUnknown));
  EXPECT_FALSE(offline.AskOkCancel(kUnknown));
  TerminalPrompter prompter(in, err, true);
  EXPECT_TRUE(prompter.AskYesNo(kUnknown));
  EXPECT_EQ(prompter.AskInput(kInterval), "75");
  EXPECT_EQ(prompter.AskInput(kInterval), "1000");
  EXPECT_EQ(prompter.AskInput(kInterval), std::nullopt);  // end of input is Cancel
  EXPECT_NE(err.str().find("Interval: Please enter the interval [1000] "), std::string::npos);
}

TEST(TerminalPrompter, AWordForANumberIsAskedAgain) {
  std::istringstream in("abc\n50us\n");
  std::ostringstream err;
  TerminalPrompter prompter(in, err, true);
  InputRequest interval = kInterval;
  interval.number = true;
  EXPECT_EQ(prompter.AskInput(interval), "50us");  // read leniently later: 50
  EXPECT_NE(err.str().find("\"abc\" is not a number; type one, or Enter for 1000: "),
            std::string::npos);
}

TEST(TerminalPrompter, AMessageQuotingAFileStaysOnOneLine) {
  // Messages can quote bytes of a file: a line break there must not split the
  // one line that a script reads per message.
  EXPECT_EQ(OneLine("line 3: \"A\rB\n\x01\tC\x7f\" is not a number"),
            "line 3: \"A\\rB\\n\\x01\tC\\x7f\" is not a number");
  std::ostringstream err;
  std::istringstream in;
  TerminalPrompter prompter(in, err, false);
  prompter.ShowMessage("Title", "two\nlines");
  prompter.Notice("a\rb");
  EXPECT_EQ(err.str(), "Title: two\\nlines\nnotice: a\\rb\n");
}

}  // namespace
}  // namespace convora::cli
