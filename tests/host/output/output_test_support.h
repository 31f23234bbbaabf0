// This file contains the fixture the output tests share: a current session with a document.
#pragma once

#include <sstream>

#include <gtest/gtest.h>

#include "host/session.h"

namespace host::testing {

class SessionTest : public ::testing::Test {
protected:
  SessionTest() {
    session_.document = &document_;
    session_.err = &err_;
    session_.command.name = "TCM MODEL";
  }

  OutputDocument document_;
  std::ostringstream err_;
  Session session_;
  SessionScope scope_{session_};
};

} // namespace host::testing
