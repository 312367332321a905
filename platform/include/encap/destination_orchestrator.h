// The L3 destination orchestrator: owns the destinations (their egress objects are kept in
// HalBcmCommon) and tells its clients when one is removed, while its egress object can still be
// looked up; it is forgotten after.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace hal_encap {

class DestinationOrchestrator {
 public:
  using RemovedCallback = std::function<void(int destination_id)>;

  // 0, or -1 when the client number is already registered.
  virtual int RegisterClient(int client_id, const std::string& client_name,
                             RemovedCallback destination_removed);
  virtual ~DestinationOrchestrator() = default;

  // 0, or -2 when the destination already exists.
  int AddDestination(int destination_id, int egress_id);
  // 0, or -2 when the destination does not exist.
  int RemoveDestination(int destination_id);

  std::vector<std::string> ClientNames() const;

 private:
  struct Client {
    int id;
    std::string name;
    RemovedCallback destination_removed;
  };
  std::vector<Client> clients_;
};

}  // namespace hal_encap
