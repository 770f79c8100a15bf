// SPDX-License-Identifier: Apache-2.0
#include "query-test.hpp"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST_P(Query, AsksTheStoreAndMapsEveryResult) {
  for (const auto& [result, status] : STATUSES) {
    SCOPED_TRACE(result);
    LogCapture::instance().clear();
    fake::store().calls.clear();
    fake::store().result = result;
    std::size_t count = 0;
    EXPECT_EQ(GetParam().run(count), status);
    EXPECT_THAT(fake::store().calls, ElementsAre(GetParam().call));
    EXPECT_EQ(count != 0, result == 0 || (result == -1101 && GetParam().appends_without_record))
        << "nothing is converted after a failure, though the store filled its output";
    if (result == 0 || result == -1101) {
      EXPECT_THAT(errors(), IsEmpty());
    } else {
      EXPECT_THAT(errors(), SizeIs(1));
      expect_line(6, "[ERROR] " + std::string(GetParam().query) + "() failed: (" + std::to_string(result) + ")",
                  "msg-consumer-client.cpp", GetParam().function);
    }
  }
  EXPECT_THAT(fake::gio().calls, IsEmpty());
  EXPECT_EQ(fake::gio().shared_connections, 0) << "reading needs no connection";
}

TEST_P(MissingOutput, IsRefusedBeforeTheStoreIsTouched) {
  EXPECT_EQ(GetParam().run(), -11);
  EXPECT_THAT(errors(), SizeIs(1));
  expect_line(6, GetParam().error, "msg-consumer-client.cpp", GetParam().function);
  EXPECT_THAT(fake::store().calls, IsEmpty());
  EXPECT_EQ(fake::allocator().malloc0s, 0);
}
