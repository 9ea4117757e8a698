#include "tools/apply/message.h"

#include <array>
#include <unistd.h>

#include <gtest/gtest.h>

namespace gwconf::tool {
namespace {

/// The reading end of a pipe that holds some bytes and nothing behind them.
class Holding {
 public:
  explicit Holding(const std::string& bytes) {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    EXPECT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(ends[1]);
    descriptor_ = ends[0];
  }
  ~Holding() { close(descriptor_); }
  Holding(const Holding&) = delete;
  Holding& operator=(const Holding&) = delete;

  [[nodiscard]] int fd() const { return descriptor_; }

 private:
  int descriptor_ = -1;
};

const Message kUndo{
    Message::Kind::kUndo,
    {{.kind = Step::Kind::kAdd, .path = "A.T.2.", .is_virtual = true},
     {.kind = Step::Kind::kSet, .path = "A.P\xff", .value = "line\nbreak \xfe", .word = 9}}};

TEST(Message, IsFieldsThatEndWithANull) {
  using namespace std::string_literals;
  EXPECT_EQ(encoded(kUndo),
            "0\0"
            "2\0"
            "2\0"
            "0\0"
            "1\0"
            "A.T.2.\0"
            "\0"
            "0\0"
            "9\0"
            "0\0"
            "A.P\xff\0"
            "line\nbreak \xfe\0"s);
  EXPECT_EQ(encoded({Message::Kind::kDismiss}),
            "1\0"
            "0\0"s);
  EXPECT_EQ(encoded({Message::Kind::kWait}),
            "2\0"
            "0\0"s);
}

TEST(Message, ComesBackAsItWas) {
  const Holding pipe{encoded(kUndo) + encoded({Message::Kind::kWait})};
  MessageReader reader{pipe.fd()};
  const std::optional<Message> undo = reader.next();
  ASSERT_TRUE(undo);
  EXPECT_EQ(undo->kind, Message::Kind::kUndo);
  ASSERT_EQ(undo->steps.size(), 2U);
  EXPECT_EQ(undo->steps[0].kind, Step::Kind::kAdd);
  EXPECT_EQ(undo->steps[0].path, "A.T.2.");
  EXPECT_EQ(undo->steps[0].value, "");
  EXPECT_TRUE(undo->steps[0].is_virtual);
  EXPECT_EQ(undo->steps[1].kind, Step::Kind::kSet);
  EXPECT_EQ(undo->steps[1].path, "A.P\xff");
  EXPECT_EQ(undo->steps[1].value, "line\nbreak \xfe");
  EXPECT_EQ(undo->steps[1].word, 9U);
  EXPECT_FALSE(undo->steps[1].is_virtual);
  const std::optional<Message> wait = reader.next();
  ASSERT_TRUE(wait);
  EXPECT_EQ(wait->kind, Message::Kind::kWait);
  EXPECT_FALSE(reader.next());
}

TEST(Message, ThatBreaksOffIsNone) {
  const std::string whole = encoded(kUndo);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const Holding pipe{whole.substr(0, size)};
    EXPECT_FALSE(MessageReader{pipe.fd()}.next()) << size;
  }
}

TEST(Message, NonsenseIsNone) {
  using namespace std::string_literals;
  for (const std::string& bytes : {"3\0"
                                   "0\0"s,
                                   "x\0"
                                   "0\0"s,
                                   "\0\0"s,
                                   "0\0"
                                   "1x\0"s,
                                   "0\0"
                                   "-1\0"s,
                                   "0\0"
                                   "1\0"
                                   "4\0"
                                   "0\0"
                                   "0\0"
                                   "A\0"
                                   "\0"s}) {
    const Holding pipe{bytes};
    EXPECT_FALSE(MessageReader{pipe.fd()}.next());
  }
}

}  // namespace
}  // namespace gwconf::tool
