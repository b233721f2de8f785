#ifndef TAVCORE_TESTING_COMPLAINT_HPP
#define TAVCORE_TESTING_COMPLAINT_HPP

#include <stdexcept>
#include <string>

namespace tav::doubles {

/** Takes what a double has to say of a test, or of the code under test, that uses it wrongly. */
using Complaint = void (*)(const std::string& text);

/**
 * What happens then: at first std::logic_error is thrown, which every test framework reports as a failure.
 * With GoogleTest a test goes on after this: complain = [](const std::string& text) { ADD_FAILURE() << text;
 * };
 */
inline Complaint complain = [](const std::string& text) { throw std::logic_error(text); };

}  // namespace tav::doubles

#endif
