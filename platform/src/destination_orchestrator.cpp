#include <encap/destination_orchestrator.h>

#include <algorithm>

#include <hal_bcm_common/hal_bcm_common.h>

namespace hal_encap {

int DestinationOrchestrator::RegisterClient(int client_id, const std::string& client_name,
                                            RemovedCallback destination_removed) {
  auto same_id = [client_id](const Client& client) { return client.id == client_id; };
  if (std::any_of(clients_.begin(), clients_.end(), same_id)) return -1;
  clients_.push_back({client_id, client_name, std::move(destination_removed)});
  return 0;
}

std::vector<std::string> DestinationOrchestrator::ClientNames() const {
  std::vector<std::string> names;
  for (const Client& client : clients_) names.push_back(client.name);
  return names;
}

int DestinationOrchestrator::AddDestination(int destination_id, int egress_id) {
  HalBcmCommon& common = HalBcmCommon::GetInstance();
  int known;
  if (common.GetEgressId(destination_id, &known) == 0) return -2;
  common.SetEgressId(destination_id, egress_id);
  return 0;
}

int DestinationOrchestrator::RemoveDestination(int destination_id) {
  HalBcmCommon& common = HalBcmCommon::GetInstance();
  int egress_id;
  if (common.GetEgressId(destination_id, &egress_id) != 0) return -2;
  for (const Client& client : clients_) {
    if (client.destination_removed) client.destination_removed(destination_id);
  }
  common.ForgetEgressId(destination_id);
  return 0;
}

}  // namespace hal_encap
