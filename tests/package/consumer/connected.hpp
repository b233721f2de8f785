#ifndef CONSUMER_CONNECTED_HPP
#define CONSUMER_CONNECTED_HPP

#include <memory>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/Config.hpp>

#include "AnsweringClient.hpp"
#include "expect.hpp"

/** Configuration and dispatcher on a client of the program's own, ready for use. */
struct Connected {
  Connected() {
    expect(config->load("share/tav/tav.ini") == NKR_OK, "the configuration loads");
    expect(dispatcher->init() == NKR_OK, "the dispatcher is ready");
  }

  std::shared_ptr<nkr::tavcore::Config> config = std::make_shared<nkr::tavcore::Config>();
  std::shared_ptr<AnsweringClient> client = std::make_shared<AnsweringClient>();
  std::shared_ptr<nkr::tavcore::CANOpenDispatcher> dispatcher =
      std::make_shared<nkr::tavcore::CANOpenDispatcher>(config, client);
};

#endif
