// The core of the dispatcher: loading, look-up, typed accessors and their records.
#include <gtest/gtest.h>

#include <clocale>
#include <support/DispatcherBench.hpp>
#include <support/Doubles.hpp>

#include "operations.hpp"

namespace tavtest {
namespace {

using nkr::tavcore::CANOpenDispatcher;
using nkr::tavcore::Config;
using Type = EdsFixture::DataType;

constexpr nkr_error_t kAbort = 0x06020000;  // a code of the client's

class DispatcherTest : public testing::Test {
 protected:
  DispatcherTest() {
    description_.add("flag", Type::BOOLEAN);
    description_.add("signed 8", Type::INTEGER8);
    description_.add("unsigned 8", Type::UNSIGNED8);
    description_.add("signed 16", Type::INTEGER16);
    description_.add("unsigned 16", Type::UNSIGNED16);
    description_.add("signed 32", Type::INTEGER32);
    description_.add("unsigned 32", Type::UNSIGNED32);
    description_.add("real", Type::REAL32);
    description_.add("text", Type::VISIBLE_STRING);
    description_.add("error_type_lvl_1", Type::UNSIGNED32);
  }

  DispatcherBench& loaded() {
    bench_ = std::make_unique<DispatcherBench>(description_);
    bench_->loaded();
    log_.clear();
    return *bench_;
  }

  void expect_records(const std::vector<LogEntry>& expected) {
    const std::vector<LogEntry> actual = log_.records();
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
      EXPECT_EQ(actual[i].context, expected[i].context);
      EXPECT_EQ(actual[i].level, expected[i].level);
      EXPECT_EQ(actual[i].function, expected[i].function);
      EXPECT_EQ(actual[i].class_name, expected[i].class_name);
      EXPECT_EQ(actual[i].text, expected[i].text);
      EXPECT_GT(actual[i].line, 0U);
    }
    log_.clear();
  }

  /** A value read and one written by name: type, address and record. */
  template <class T>
  void expect_named_read(const std::string& name, const T& value) {
    SCOPED_TRACE(name);
    DispatcherBench& bench = loaded();
    const std::uint32_t address = description_.address(name);
    bench.client->answer(address, value);
    T read{};
    EXPECT_EQ(bench.dispatcher->get_value(name, read), NKR_OK);
    EXPECT_EQ(read, value);
    EXPECT_EQ(bench.client->accesses, (std::vector<Access>{{AccessKind::READ, 5, address, value}}));
    expect_records({dispatcher_record(
        5, "get_value", "getValue nodeId=5 address=" + std::to_string(address) + " (" + name + ")")});
  }

  template <class T>
  void expect_named_write(const std::string& name, const T& value, const std::string& text) {
    SCOPED_TRACE(name);
    DispatcherBench& bench = loaded();
    const std::uint32_t address = description_.address(name);
    EXPECT_EQ(bench.dispatcher->set_value(name, value), NKR_OK);
    EXPECT_EQ(bench.client->accesses, (std::vector<Access>{{AccessKind::WRITE, 5, address, value}}));
    expect_records({dispatcher_record(
        5, "log_set_success",
        "setValue nodeId=5 address=" + std::to_string(address) + " (" + name + ") : " + text)});
  }

  template <class T>
  void expect_access_by_address(const T& value, const std::string& text) {
    DispatcherBench& bench = loaded();
    constexpr std::uint32_t kAddress = 0x60410010;
    bench.client->answer(kAddress, value);
    T read{};
    EXPECT_EQ(bench.dispatcher->get_value_by_address(kAddress, read), NKR_OK);
    EXPECT_EQ(read, value);
    expect_records({});
    EXPECT_EQ(bench.dispatcher->set_value_by_address(kAddress, value), NKR_OK);
    EXPECT_EQ(bench.client->accesses, (std::vector<Access>{{AccessKind::READ, 5, kAddress, value},
                                                           {AccessKind::WRITE, 5, kAddress, value}}));
    expect_records(
        {dispatcher_record(5, "log_set_success_address", "setValue nodeId=5 address=1614872592 : " + text)});
  }

  RecordingLog log_;
  EdsFixture description_;
  std::unique_ptr<DispatcherBench> bench_;
};

TEST_F(DispatcherTest, IsNotLoadedAfterConstructionAndLoadedAfterInit) {
  DispatcherBench bench(description_);
  EXPECT_FALSE(bench.dispatcher->isConfigLoaded());
  EXPECT_EQ(bench.dispatcher->init(), NKR_OK);
  EXPECT_TRUE(bench.dispatcher->isConfigLoaded());
  expect_records({});
  EXPECT_TRUE(bench.client->accesses.empty());
}

TEST_F(DispatcherTest, TellsWhetherTheClientIsReady) {
  DispatcherBench bench(description_);
  EXPECT_TRUE(bench.dispatcher->isClientInitialized());
  bench.client->initialized = false;
  EXPECT_FALSE(bench.dispatcher->isClientInitialized());
}

TEST_F(DispatcherTest, InitDoesNotAskWhetherTheClientIsReady) {
  DispatcherBench bench(description_);
  bench.client->initialized = false;
  EXPECT_EQ(bench.dispatcher->init(), NKR_OK);
}

TEST_F(DispatcherTest, InitWithoutConfigurationIsRefusedWithContextZero) {
  CANOpenDispatcher dispatcher(nullptr, std::make_shared<RecordingClient>());
  EXPECT_EQ(dispatcher.init(), NKR_ERROR);
  expect_records({{0, 2, "init", 0, "CANOpenDispatcher", "Config not configured correctly !"}});
}

TEST_F(DispatcherTest, InitWithoutClientIsRefusedWithContextZero) {
  const DispatcherBench bench(description_);
  CANOpenDispatcher dispatcher(bench.config, nullptr);
  EXPECT_EQ(dispatcher.init(), NKR_ERROR);
  EXPECT_FALSE(dispatcher.isConfigLoaded());
  expect_records({{0, 2, "init", 0, "CANOpenDispatcher", "COSClient not configured correctly !"}});
}

TEST_F(DispatcherTest, InitWithAnUnreadableFileNamesThePath) {
  const TemporaryFile file(config_text({{"CANOpenEDSFile", "/no/such/drive.eds"}}));
  const auto config = std::make_shared<Config>();
  ASSERT_EQ(config->load(file.path()), NKR_OK);
  CANOpenDispatcher dispatcher(config, std::make_shared<RecordingClient>());
  EXPECT_EQ(dispatcher.init(), NKR_NOT_AVAILABLE);
  EXPECT_FALSE(dispatcher.isConfigLoaded());
  expect_records({dispatcher_record(2, "init", "Can't open file : /no/such/drive.eds")});
}

TEST_F(DispatcherTest, InitWithAFileThatIsNoDescriptionNamesThePath) {
  DispatcherBench bench(
      std::string("\x7f"
                  "ELF\x01\x02 this is no description"));
  EXPECT_EQ(bench.dispatcher->init(), NKR_NOT_AVAILABLE);
  EXPECT_FALSE(bench.dispatcher->isConfigLoaded());
  expect_records(
      {dispatcher_record(2, "init", "Error during parsing file : " + bench.config->getCANOpenEDSFilePath())});
}

TEST_F(DispatcherTest, InitTakesTheNodeIdEvenWhenTheFileCannotBeOpened) {
  const TemporaryFile file(config_text({{"nodeId", "33"}, {"CANOpenEDSFile", "/no/such/drive.eds"}}));
  const auto config = std::make_shared<Config>();
  const auto client = std::make_shared<RecordingClient>();
  ASSERT_EQ(config->load(file.path()), NKR_OK);
  CANOpenDispatcher dispatcher(config, client);
  EXPECT_EQ(dispatcher.init(), NKR_NOT_AVAILABLE);
  std::uint8_t value = 0;
  EXPECT_EQ(dispatcher.get_value_by_address(0x10010000U, value), NKR_OK);
  EXPECT_EQ(client->accesses.at(0).node, 33);
}

TEST_F(DispatcherTest, ASecondInitThatFailsKeepsWhatWasLoaded) {
  TemporaryFile description(description_.text());
  const auto settings = [&](const std::string& path) {
    return config_text({{"contextId", "7"}, {"nodeId", "5"}, {"CANOpenEDSFile", path}});
  };
  const auto config = std::make_shared<Config>();
  ASSERT_EQ(config->load(TemporaryFile(settings(description.path())).path()), NKR_OK);
  const auto client = std::make_shared<RecordingClient>();
  CANOpenDispatcher dispatcher(config, client);
  ASSERT_EQ(dispatcher.init(), NKR_OK);
  ASSERT_EQ(config->load(TemporaryFile(settings("/gone.eds")).path()), NKR_OK);
  EXPECT_EQ(dispatcher.init(), NKR_NOT_AVAILABLE);
  EXPECT_TRUE(dispatcher.isConfigLoaded());
  unsigned int value = 0;
  EXPECT_EQ(dispatcher.get_value("unsigned 32", value), NKR_OK);
}

TEST_F(DispatcherTest, ASecondInitReadsTheNodeIdAgain) {
  DispatcherBench& bench = loaded();
  ASSERT_EQ(bench.dispatcher->_setNodeId(99), NKR_OK);
  ASSERT_EQ(bench.dispatcher->init(), NKR_OK);
  unsigned int error = 0;
  ASSERT_EQ(bench.dispatcher->_getLevel1Error(error), NKR_OK);
  EXPECT_EQ(bench.client->accesses.at(0).node, 5);
}

TEST_F(DispatcherTest, AServiceBeforeInitIsRefusedWithContextZero) {
  const DispatcherBench bench(description_);
  unsigned int error = 0xAAAAAAAA;
  EXPECT_EQ(bench.dispatcher->_getLevel1Error(error), NKR_NOT_AVAILABLE);
  EXPECT_EQ(error, 0xAAAAAAAAU);
  EXPECT_TRUE(bench.client->accesses.empty());
  expect_records(
      {{0, 2, "_getLevel1Error", 0, "CANOpenDispatcher", "TAV CANOpenDispatcher is not initialized"}});
}

TEST_F(DispatcherTest, AnAccessByAddressBeforeInitReachesTheClientWithNode255AndIsRecordedAsMinusOne) {
  const DispatcherBench bench(description_);
  bench.client->fail_from(1, kAbort);
  std::uint16_t value = 0;
  EXPECT_EQ(bench.dispatcher->get_value_by_address(0x60410010U, value), kAbort);
  EXPECT_EQ(bench.client->accesses, (std::vector<Access>{{AccessKind::READ, 0xFF, 0x60410010, u16(0)}}));
  expect_records({dispatcher_record(2, "get_value_by_address", "getValue nodeId=-1 address=1614872592")});
}

TEST_F(DispatcherTest, RecordsWithoutConfigurationCarryContextZero) {
  const auto client = std::make_shared<RecordingClient>();
  const CANOpenDispatcher dispatcher(nullptr, client);
  client->fail_from(1, kAbort);
  std::uint8_t value = 0;
  EXPECT_EQ(dispatcher.get_value_by_address(0x10010000U, value), kAbort);
  expect_records(
      {{0, 2, "get_value_by_address", 0, "CANOpenDispatcher", "getValue nodeId=-1 address=268500992"}});
}

TEST_F(DispatcherTest, AnAddressIsIndexSubIndexAndLengthInBits) {
  // Statusword: UNSIGNED16 at 0x6041; device name: VISIBLE_STRING at 0x1008; the number of entries of 0x1018.
  const std::string text =
      "[DeviceInfo]\nVendorName=x\n[MandatoryObjects]\nSupportedObjects=1\n1=0x1018\n"
      "[OptionalObjects]\nSupportedObjects=2\n1=0x6041\n2=0x1008\n"
      "[6041]\nParameterName=statusword\nObjectType=0x7\nDataType=0x0006\nAccessType=ro\nPDOMapping=1\n"
      "[1008]\nParameterName=Manufacturer device name\nObjectType=0x7\nDataType=0x0009\nAccessType=const\n"
      "[1018]\nParameterName=Identity Object\nObjectType=0x9\nSubNumber=2\n"
      "[1018sub0]\nParameterName=count\nObjectType=0x7\nDataType=0x0005\nAccessType=ro\nDefaultValue=1\n"
      "[1018sub1]\nParameterName=Vendor Id\nObjectType=0x7\nDataType=0x0007\nAccessType=ro\n";
  DispatcherBench bench(text);
  bench.loaded();
  unsigned int address = 0;
  EXPECT_EQ(bench.dispatcher->get_address("statusword", address), NKR_OK);
  EXPECT_EQ(address, 0x60410010U);
  EXPECT_EQ(bench.dispatcher->get_address("Manufacturer device name", address), NKR_OK);
  EXPECT_EQ(address, 0x10080000U);
  EXPECT_EQ(bench.dispatcher->get_address("Identity Object Vendor Id", address), NKR_OK);
  EXPECT_EQ(address, 0x10180120U);
}

TEST_F(DispatcherTest, AnUnknownNameLeavesTheAddressAndIsRecordedByTheLookUp) {
  DispatcherBench& bench = loaded();
  unsigned int address = 123;
  EXPECT_EQ(bench.dispatcher->get_address("nothing", address), NKR_NOT_AVAILABLE);
  EXPECT_EQ(address, 123U);
  expect_records({dispatcher_record(2, "get_address", "Object nothing not found !")});
}

TEST_F(DispatcherTest, AnUnknownNameNeverReachesTheClient) {
  DispatcherBench& bench = loaded();
  int value = 9;
  EXPECT_EQ(bench.dispatcher->get_value("nothing", value), NKR_NOT_AVAILABLE);
  EXPECT_EQ(bench.dispatcher->set_value("nothing", value), NKR_NOT_AVAILABLE);
  EXPECT_EQ(value, 9);
  EXPECT_TRUE(bench.client->accesses.empty());
  expect_records({dispatcher_record(2, "get_value", "Object nothing not found !"),
                  dispatcher_record(2, "set_value", "Object nothing not found !")});
}

TEST_F(DispatcherTest, NamesAreComparedExactly) {
  DispatcherBench& bench = loaded();
  unsigned int address = 0;
  for (const char* const name : {"Flag", "flag ", " flag", "fla", ""}) {
    EXPECT_EQ(bench.dispatcher->get_address(name, address), NKR_NOT_AVAILABLE) << '"' << name << '"';
  }
}

TEST_F(DispatcherTest, ReadsEveryTypeWithTheClientsOperationOfThatType) {
  expect_named_read("flag", true);
  expect_named_read("signed 8", i8(-128));
  expect_named_read("unsigned 8", u8(200));
  expect_named_read("signed 16", i16(-32768));
  expect_named_read("unsigned 16", u16(65535));
  expect_named_read("signed 32", -2147483647 - 1);
  expect_named_read("unsigned 32", 4294967295U);
  expect_named_read("real", 1.5F);
  expect_named_read("text", std::string("a (b) : c"));
}

TEST_F(DispatcherTest, WritesEveryTypeAndRecordsItsValue) {
  expect_named_write("flag", true, "1");
  expect_named_write("flag", false, "0");
  expect_named_write("unsigned 8", u8(200), "200");
  expect_named_write("signed 16", i16(-32768), "-32768");
  expect_named_write("unsigned 16", u16(65535), "65535");
  expect_named_write("signed 32", -2147483647 - 1, "-2147483648");
  expect_named_write("unsigned 32", 4294967295U, "4294967295");
  expect_named_write("real", 1.5F, "1.500000");
  expect_named_write("real", -0.1F, "-0.100000");
  expect_named_write("text", std::string("a (b) : c"), "a (b) : c");
}

TEST_F(DispatcherTest, AFloatIsRecordedWithAPointInEveryLocale) {
  for (const char* const name : {"de_DE.UTF-8", "fr_FR.UTF-8", "de_DE", "fr_FR"}) {
    if (std::setlocale(LC_ALL, name) != nullptr) break;  // without any of them the test still holds
  }
  expect_named_write("real", 3.25F, "3.250000");
  std::setlocale(LC_ALL, "C");
}

TEST_F(DispatcherTest, AccessesByAddressServeTheUnsignedTypes) {
  expect_access_by_address(u8(200), "200");
  expect_access_by_address(u16(65535), "65535");
  expect_access_by_address(4294967295U, "4294967295");
}

TEST_F(DispatcherTest, AFailedAccessReturnsTheClientsCodeAndIsRecorded) {
  DispatcherBench& bench = loaded();
  bench.client->fail_from(1, kAbort);
  unsigned int value = 77;
  const std::string address = std::to_string(description_.address("unsigned 32"));
  EXPECT_EQ(bench.dispatcher->get_value("unsigned 32", value), kAbort);
  EXPECT_EQ(bench.dispatcher->set_value("unsigned 32", value), kAbort);
  EXPECT_EQ(bench.dispatcher->get_value_by_address(0x60410010U, value), kAbort);
  EXPECT_EQ(bench.dispatcher->set_value_by_address(0x60410010U, value), kAbort);
  EXPECT_EQ(value, 77U);
  expect_records(
      {dispatcher_record(2, "get_value",
                         "getValue nodeId=5 address=" + address + " (unsigned 32) : failed !"),
       dispatcher_record(2, "set_value",
                         "setValue nodeId=5 address=" + address + " (unsigned 32) : failed !"),
       dispatcher_record(2, "get_value_by_address", "getValue nodeId=5 address=1614872592"),
       dispatcher_record(2, "set_value_by_address", "setValue nodeId=5 address=1614872592 : failed !")});
}

TEST_F(DispatcherTest, AFailingNamedReadInAServiceGivesTwoRecordsAndEndsTheOperation) {
  DispatcherBench& bench = loaded();
  bench.client->fail_from(1, kAbort);
  unsigned int error = 0;
  EXPECT_EQ(bench.dispatcher->_getLevel1Error(error), kAbort);
  const LogEntry failure = dispatcher_record(
      2, "get_value",
      "getValue nodeId=5 address=" + std::to_string(description_.address("error_type_lvl_1")) +
          " (error_type_lvl_1) : failed !");
  expect_records({failure, failure});
}

TEST_F(DispatcherTest, AFailedReadLeavesWhatTheClientLeft) {
  DispatcherBench& bench = loaded();
  bench.client->failing_reads_store_zero = true;
  bench.client->fail_from(1, kAbort);
  unsigned int error = 0xAAAAAAAA;
  EXPECT_EQ(bench.dispatcher->_getLevel1Error(error), kAbort);
  EXPECT_EQ(error, 0U);
}

TEST_F(DispatcherTest, TheClientSeesTheLowByteOfTheNodeId) {
  const TemporaryFile description(description_.text());
  const TemporaryFile file(config_text({{"nodeId", "300"}, {"CANOpenEDSFile", description.path()}}));
  const auto config = std::make_shared<Config>();
  ASSERT_EQ(config->load(file.path()), NKR_OK);
  const auto client = std::make_shared<RecordingClient>();
  CANOpenDispatcher dispatcher(config, client);
  ASSERT_EQ(dispatcher.init(), NKR_OK);
  unsigned int value = 0;
  ASSERT_EQ(dispatcher.get_value("unsigned 32", value), NKR_OK);
  EXPECT_EQ(client->accesses.at(0).node, 300 - 256);
  EXPECT_NE(log_.records().at(0).text.find("nodeId=300 "), std::string::npos);
}

TEST_F(DispatcherTest, TheSuccessRecordsCanBeWrittenAlone) {
  DispatcherBench& bench = loaded();
  bench.dispatcher->log_set_success("x", 0x60410010, "text");
  bench.dispatcher->log_set_success("x", 0x60410010, 2.5F);
  bench.dispatcher->log_set_success_address(0x60410010, "text");
  bench.dispatcher->log_set_success_address(0x60410010, u8(200));
  expect_records(
      {dispatcher_record(5, "log_set_success", "setValue nodeId=5 address=1614872592 (x) : text"),
       dispatcher_record(5, "log_set_success", "setValue nodeId=5 address=1614872592 (x) : 2.500000"),
       dispatcher_record(5, "log_set_success_address", "setValue nodeId=5 address=1614872592 : text"),
       dispatcher_record(5, "log_set_success_address", "setValue nodeId=5 address=1614872592 : 200")});
  EXPECT_TRUE(bench.client->accesses.empty());
}

TEST_F(DispatcherTest, TheClientsCodeReachesTheCallerUnchanged) {
  for (const nkr_error_t code :
       {nkr_error_t{0}, NKR_ERROR, nkr_error_t{7}, nkr_error_t{0x05040000}, nkr_error_t{-1}}) {
    DispatcherBench& bench = loaded();
    bench.client->fail_from(1, code);
    unsigned int error = 0;
    EXPECT_EQ(bench.dispatcher->_getLevel1Error(error), code);
    EXPECT_EQ(bench.client->accesses.size(), 2U);
  }
}

}  // namespace
}  // namespace tavtest
