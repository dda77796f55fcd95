// SPDX-License-Identifier: MIT
#include "host/daemon/Notify.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

#include "host/daemon/Configuration.h"

namespace {

/// The service manager's end: a datagram socket under a name that NOTIFY_SOCKET can hold.
class Manager {
 public:
   explicit Manager(std::string const& name) : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0)) {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      name.copy(address.sun_path, name.size());
      if (name[0] == '@') address.sun_path[0] = '\0';
      auto const length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
      EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), length), 0) << name;
      setenv("NOTIFY_SOCKET", name.c_str(), 1);
   }
   ~Manager() {
      close(socket_);
      unsetenv("NOTIFY_SOCKET");
   }
   std::string heard() const {
      std::array<char, 4096> buffer;
      auto const length = recv(socket_, buffer.data(), buffer.size(), 0);
      return length < 0 ? "nothing" : std::string(buffer.data(), static_cast<std::size_t>(length));
   }

 private:
   int socket_;
};

TEST(NotifyTest, theServiceManagerHearsHowTheProcessFares) {
   Daemon::PrivateDirectory const directory;
   Manager const manager(directory.path() / "notify");
   Daemon::Notify const notify;
   notify.ready("answering");
   EXPECT_EQ(manager.heard(), "READY=1\nSTATUS=answering");
   notify.status("two\nlines");
   EXPECT_EQ(manager.heard(), "STATUS=two\\x0alines") << "an assignment is one line";
   notify.reloading();
   EXPECT_TRUE(manager.heard().starts_with("RELOADING=1\nMONOTONIC_USEC="));
   notify.stopping();
   EXPECT_EQ(manager.heard(), "STOPPING=1");
   EXPECT_EQ(manager.heard(), "nothing");
}

TEST(NotifyTest, itsSocketMayBeAbstract) {
   Manager const manager("@mplste-notify-test-" + std::to_string(getpid()));
   Daemon::Notify().stopping();
   EXPECT_EQ(manager.heard(), "STOPPING=1");
}

TEST(NotifyTest, theSocketIsNotHandedOnToOtherProcesses) {
   Daemon::PrivateDirectory const directory;
   Manager const manager(directory.path() / "notify");
   Daemon::Notify const notify;
   EXPECT_EQ(std::getenv("NOTIFY_SOCKET"), nullptr);
}

TEST(NotifyTest, withoutAServiceManagerNothingHappens) {
   unsetenv("NOTIFY_SOCKET");
   Daemon::Notify().ready("answering");
   for (std::string const& name :
        {std::string(), std::string("relative/path"), std::string("/no/such/socket"), "/" + std::string(200, 'x')}) {
      setenv("NOTIFY_SOCKET", name.c_str(), 1);
      Daemon::Notify().ready("answering");
   }
}

TEST(NotifyTest, aServiceManagerThatDoesNotListenHoldsNobodyUp) {
   Daemon::PrivateDirectory const directory;
   Manager const manager(directory.path() / "notify");
   Daemon::Notify const notify;
   for (int i = 0; i < 1000; ++i) notify.status("not read");
   EXPECT_EQ(manager.heard(), "STATUS=not read");
}

}  // namespace
