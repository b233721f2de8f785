#ifndef TESTS_SUPPORT_DOUBLES_HPP
#define TESTS_SUPPORT_DOUBLES_HPP

#include <tavcore/testing/AccessMatcher.hpp>
#include <tavcore/testing/FakeDispatcher.hpp>
#include <tavcore/testing/RecordingClient.hpp>
#include <tavcore/testing/RecordingLog.hpp>

/** The doubles that users of the library get, by their names in the tests here. */
namespace tavtest {
using namespace tav::doubles;
}

#endif
