// The LAG orchestrator: owns LAG membership (kept in HalBcmCommon) and tells its clients of
// every change. Membership has changed when "member added" and "member removed" are raised;
// "LAG destroyed" is raised while the LAG still lists its members, which are cleared after.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include <limid/limid.h>

namespace halswitchl2if {

class LagOrchestrator {
 public:
  // What a client is told; each callable answers whether the client followed the change.
  struct Callback {
    std::function<bool(const limid_t& lag)> lag_created;
    std::function<bool(const limid_t& lag)> lag_destroyed;
    std::function<bool(const limid_t& lag, const limid_t& member)> member_added;
    std::function<bool(const limid_t& lag, const limid_t& member)> member_removed;
  };

  // 0, or -1 when the client number is already registered. Clients are told in the order they
  // registered.
  virtual int RegisterClient(int client_id, const std::string& client_name,
                             const Callback& callback);
  virtual ~LagOrchestrator() = default;

  // Each returns 0 when the change was made and every client followed it, -1 when a client did
  // not (the change stays made), -2 when the change is not possible (nothing happens).
  int CreateLag(const limid_t& lag);  // the LAG's gport is the trunk of its number
  // A member is a port in no other LAG and not yet in this one; a refusal is logged.
  int AddMember(const limid_t& lag, const limid_t& member);
  int RemoveMember(const limid_t& lag, const limid_t& member);
  int DestroyLag(const limid_t& lag);

  bool HasLag(const limid_t& lag) const { return lags_.count(lag) > 0; }
  std::vector<std::string> ClientNames() const;

 private:
  struct Client {
    int id;
    std::string name;
    Callback callback;
  };

  std::string RefusedMember(const limid_t& lag, const limid_t& member) const;
  // Tells every client; 0 when all of them followed.
  template <class Tell>
  int tell_clients(Tell&& tell) const;

  std::vector<Client> clients_;
  std::set<limid_t> lags_;
};

}  // namespace halswitchl2if
