// The clients of the control socket, many at a time, beside the agent's polls: what they send is
// taken in when it comes, and carried out in the agent's turn.
//
// Whatever clients do, each turn does a bounded piece of it, and memory is bounded by the limits
// below. Those who may only read have places of their own, and each user some of them, so that
// they cannot keep an operator out, nor each other.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "agent/control_connection.h"
#include "agent/control_dispatcher.h"
#include "agent/control_socket.h"
#include "agent/event_loop.h"

namespace Agent {

class ControlServer {
 public:
  static constexpr std::size_t kMaxReaders = 24;  // clients that may only read
  static constexpr std::size_t kMaxReadersOfAUser = 8;
  static constexpr std::size_t kMaxWriters = 8;  // the superuser's and the agent's own user's
  static constexpr int kAcceptsPerTurn = 16;
  static constexpr int kRequestsPerTurn = 32;
  static constexpr Kel::Seconds kTurnShare = 0.005;  // no request is begun after it
  static constexpr Kel::Seconds kAcceptRetry = 1.0;  // after the process ran out of descriptors
  static constexpr Kel::Seconds kIdle = 1.0;         // late clients are noticed within this time

  // The user whose process is at the other end; nothing where that cannot be told.
  using PeerUser = std::function<std::optional<uid_t>(int fd)>;
  static std::optional<uid_t> peerUser(int fd);

  // Takes clients from now on. The loop must outlive it.
  ControlServer(EventLoop& loop, std::string const& directory, ControlDispatcher requests,
                std::function<Kel::Seconds()> steady, PeerUser peerUser = &ControlServer::peerUser);
  ~ControlServer();
  ControlServer(ControlServer const&) = delete;
  ControlServer& operator=(ControlServer const&) = delete;

  // What clients ask is carried out by these from now on.
  void requestsAre(ControlDispatcher requests) {
    _requests = std::make_unique<ControlDispatcher>(std::move(requests));
  }

  // Carries out what there is, as far as this turn goes. To be called in each turn of the loop,
  // after the activity's clock was brought to the present. Answers in how many seconds it wants to
  // be called again; 0 where there is more.
  Kel::Seconds turn();

  std::size_t clients() const { return _connections.size(); }
  // Whether clients still find the socket under its name.
  bool isThere() const { return _socket.isThere(); }

 private:
  using Connection = std::shared_ptr<ControlConnection>;

  void heedNewcomers();
  void accept();
  void take(Glim::FileDescriptor fd);
  void serve(Connection const& connection);
  void dropLateOnes();
  // Heeds what the connection waits for; drops it where there is no more to come.
  void settle(Connection const& connection);
  void heed(Connection const& connection);
  void drop(int fd);

  EventLoop& _loop;
  std::unique_ptr<ControlDispatcher> _requests;
  std::function<Kel::Seconds()> const _steady;
  PeerUser const _peerUser;
  ControlSocket const _socket;
  std::map<int, Connection> _connections;
  int _lastServed = -1;  // the next turn goes on after it
  std::optional<Kel::Seconds> _acceptAgain;
};

}  // namespace Agent
