// What lasts: the daemon over the sample model, ended in every way and started again.

#include <chrono>
#include <csignal>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/paths.h"
#include "gwconf/client.hpp"
#include "storage/settings_block.h"
#include "tests/startup/daemon_process.h"
#include "tests/support/sandbox.h"

namespace gwconf {
namespace {

using test::DaemonProcess;
using test::read_file;
using test::write_file;

class Restart : public testing::Test {
 protected:
  void SetUp() override {
    test::clear_sandbox();
    write_file(paths().defaults, read_file(GWCONF_MODEL));
    start();
  }

  void start() {
    daemon_.emplace();
    ASSERT_TRUE(daemon_->serves());
  }

  /// Ends the daemon by a signal.
  void end(int signal) {
    daemon_->send(signal);
    EXPECT_EQ(daemon_->wait(), signal == SIGKILL ? DaemonProcess::kKilled : 1);
    daemon_.reset();
  }

  void restart(int signal = SIGTERM) {
    end(signal);
    start();
  }

  /// A value; the code when there is none.
  [[nodiscard]] std::string value(const std::string& path) const {
    const auto answer = client.get_value(path);
    return answer ? answer.value : std::to_string(answer.code);
  }

  [[nodiscard]] std::vector<unsigned> instances(const std::string& table) const {
    const auto answer = client.list_instances(table);
    EXPECT_EQ(answer.code, 0) << table;
    return answer.value;
  }

  /// The text of a partition's block; "<none>" without a good one.
  static std::string block_text(const char* partition) {
    const OwnedText text = CM_UTL_GetMTDBlockSettings(partition);
    return text ? text.get() : "<none>";
  }

  static void damage(const char* partition) {
    std::string block = read_file(partition);
    block.at(60) = static_cast<char>(block.at(60) ^ 1);
    write_file(partition, block);
  }

  static constexpr const char* kServer = "InternetGatewayDevice.Time.NTPServer1";
  static constexpr const char* kInterval =
      "InternetGatewayDevice.ManagementServer.PeriodicInformInterval";
  static constexpr const char* kInterfaces = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.";
  static constexpr const char* kRecords =
      "InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstances.";

  Client client{paths().socket};
  std::optional<DaemonProcess> daemon_;
};

TEST_F(Restart, ACommitSurvives) {
  const std::string awkward = "a \"quoted\" \\ value,\nwith <two> lines & Z\xC3\xBCrich";
  EXPECT_EQ(client.set_value(kServer, awkward), 0);
  EXPECT_EQ(client.set_value(kInterval, "600"), 0);
  EXPECT_EQ(client.commit(), 0);
  restart();
  EXPECT_EQ(value(kServer), awkward);
  EXPECT_EQ(value(kInterval), "600");
}

TEST_F(Restart, WhatWasNotCommittedIsLost) {
  const std::string before = value(kServer);
  EXPECT_EQ(client.set_value(kInterval, "600"), 0);
  EXPECT_EQ(client.commit(), 0);
  for (const int signal : {SIGTERM, SIGKILL}) {
    EXPECT_EQ(client.set_value(kServer, "later.example.net"), 0);
    restart(signal);
    EXPECT_EQ(value(kServer), before);
    EXPECT_EQ(value(kInterval), "600");
  }
}

TEST_F(Restart, InstancesSurvive) {
  const std::vector<unsigned> before = instances(kInterfaces);
  ASSERT_FALSE(before.empty());
  const std::string counter =
      "InternetGatewayDevice.LANDevice.1.LANWLANConfigurationNumberOfEntries";
  ASSERT_EQ(value(counter), std::to_string(before.size()));
  EXPECT_EQ(client.add_instance(kInterfaces, 40), 0);
  EXPECT_EQ(client.set_value(std::string{kInterfaces} + "40.SSID", "mine"), 0);
  EXPECT_EQ(client.add_virtual_instance(kInterfaces, 41), 0);
  EXPECT_EQ(client.commit(), 0);
  restart();
  std::vector<unsigned> after = before;
  after.push_back(40);
  EXPECT_EQ(instances(kInterfaces), after);  // a virtual one is not saved
  EXPECT_EQ(value(std::string{kInterfaces} + "40.SSID"), "mine");
  EXPECT_EQ(value(counter), std::to_string(after.size()));
}

TEST_F(Restart, ADeletedDefaultStaysDeleted) {
  const std::vector<unsigned> before = instances(kInterfaces);
  ASSERT_GE(before.size(), 2U);
  EXPECT_EQ(client.delete_instance(kInterfaces, before.back()), 0);
  EXPECT_EQ(client.commit(), 0);
  const std::vector<unsigned> after{before.begin(), before.end() - 1};
  for (int round = 0; round < 2; ++round) {
    restart();
    EXPECT_EQ(instances(kInterfaces), after);
    EXPECT_EQ(instances(kRecords), std::vector<unsigned>{1});
    EXPECT_EQ(value(std::string{kRecords} + "1.URI"),
              kInterfaces + std::to_string(before.back()) + ".");
    EXPECT_EQ(client.commit(), 0);
  }

  // Made again by the user, it is the user's own from then on.
  EXPECT_EQ(client.add_instance(kInterfaces, before.back()), 0);
  EXPECT_EQ(instances(kRecords), std::vector<unsigned>{});
  EXPECT_EQ(client.commit(), 0);
  restart();
  EXPECT_EQ(instances(kInterfaces), before);
  EXPECT_EQ(instances(kRecords), std::vector<unsigned>{});
}

TEST_F(Restart, SettingsAreSavedTheSameAgain) {
  EXPECT_EQ(client.set_value(kServer, "one"), 0);
  EXPECT_EQ(client.add_instance(kInterfaces, 40), 0);
  EXPECT_EQ(client.delete_instance(kInterfaces, 1), 0);
  EXPECT_EQ(client.commit(), 0);
  const std::string saved = block_text(paths().primary_partition);
  EXPECT_NE(saved, "<none>");
  EXPECT_EQ(block_text(paths().backup_partition), saved);
  EXPECT_EQ(read_file(paths().last_block_text), saved);
  restart();
  EXPECT_EQ(client.commit(), 0);
  EXPECT_EQ(block_text(paths().primary_partition), saved);
  EXPECT_EQ(block_text(paths().backup_partition), saved);
}

TEST_F(Restart, TheBackupServesForADamagedPrimaryUntilTheNextCommit) {
  EXPECT_EQ(client.set_value(kServer, "one"), 0);
  EXPECT_EQ(client.commit(), 0);
  end(SIGTERM);
  damage(paths().primary_partition);
  ASSERT_EQ(block_text(paths().primary_partition), "<none>");
  start();
  EXPECT_EQ(value(kServer), "one");
  EXPECT_EQ(client.commit(), 0);
  EXPECT_EQ(block_text(paths().primary_partition), block_text(paths().backup_partition));
  end(SIGTERM);
  damage(paths().backup_partition);
  start();
  EXPECT_EQ(value(kServer), "one");
}

TEST_F(Restart, WithBothPartitionsDamagedItRunsOnTheDefaults) {
  const std::string before = value(kServer);
  EXPECT_EQ(client.set_value(kServer, "one"), 0);
  EXPECT_EQ(client.commit(), 0);
  end(SIGTERM);
  damage(paths().primary_partition);
  damage(paths().backup_partition);
  start();
  EXPECT_EQ(value(kServer), before);
}

TEST_F(Restart, AResetSurvives) {
  const std::string before = value(kServer);
  EXPECT_EQ(client.set_value(kServer, "one"), 0);
  EXPECT_EQ(client.commit(), 0);
  EXPECT_EQ(client.reset(), 0);
  EXPECT_EQ(value(kServer), before);
  restart(SIGKILL);
  EXPECT_EQ(value(kServer), before);
  EXPECT_EQ(block_text(paths().primary_partition), "<DATAMODEL>\n</DATAMODEL>\n");
}

TEST_F(Restart, ARestoreSurvivesOnlyWithACommit) {
  const std::string file = test::sandbox_root() + "/tmp/saved.xml";
  const std::string before = value(kServer);
  EXPECT_EQ(client.set_value(kServer, "one"), 0);
  EXPECT_EQ(client.save(file), 0);
  restart();
  ASSERT_EQ(value(kServer), before);
  EXPECT_EQ(client.restore(file), 0);
  EXPECT_EQ(value(kServer), "one");
  restart();
  EXPECT_EQ(value(kServer), before);
  EXPECT_EQ(client.restore(file), 0);
  EXPECT_EQ(client.commit(), 0);
  restart();
  EXPECT_EQ(value(kServer), "one");
}

TEST_F(Restart, AKilledDaemonLosesNoCommit) {
  constexpr int kRounds = 20;
  std::minstd_rand random{20};
  EXPECT_EQ(client.set_value(kInterval, "1"), 0);
  EXPECT_EQ(client.commit(), 0);
  int committed = 1;  // the last number whose commit was answered
  for (int round = 0; round < kRounds; ++round) {
    SCOPED_TRACE(round);
    const auto commit_next = [&] {
      const bool done =
          client.set_value(kInterval, std::to_string(committed + 1)) == 0 && client.commit() == 0;
      if (done) ++committed;
      return done;
    };
    ASSERT_TRUE(commit_next());
    std::thread killer{[this, delay = std::chrono::microseconds{random() % 20'000}] {
      std::this_thread::sleep_for(delay);
      daemon_->send(SIGKILL);
    }};
    while (commit_next()) {
    }
    killer.join();
    EXPECT_EQ(daemon_->wait(), DaemonProcess::kKilled);
    EXPECT_TRUE(block_text(paths().primary_partition) != "<none>" ||
                block_text(paths().backup_partition) != "<none>");

    start();
    // The commit that was under way may have come through.
    const std::string found = value(kInterval);
    ASSERT_TRUE(found == std::to_string(committed) || found == std::to_string(committed + 1))
        << committed << " was committed, " << found << " found";
    committed = std::stoi(found);
  }
}

}  // namespace
}  // namespace gwconf
