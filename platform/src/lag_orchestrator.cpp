#include <lag/lag_orchestrator.h>

#include <algorithm>

#include <hal_bcm_common/hal_bcm_common.h>
#include <hal_callbacks/hal_callbacks_itf.h>

namespace halswitchl2if {

int LagOrchestrator::RegisterClient(int client_id, const std::string& client_name,
                                    const Callback& callback) {
  auto same_id = [client_id](const Client& client) { return client.id == client_id; };
  if (std::any_of(clients_.begin(), clients_.end(), same_id)) return -1;
  clients_.push_back({client_id, client_name, callback});
  return 0;
}

std::vector<std::string> LagOrchestrator::ClientNames() const {
  std::vector<std::string> names;
  for (const Client& client : clients_) names.push_back(client.name);
  return names;
}

template <class Tell>
int LagOrchestrator::tell_clients(Tell&& tell) const {
  bool all_followed = true;
  for (const Client& client : clients_) all_followed &= tell(client.callback);
  return all_followed ? 0 : -1;
}

int LagOrchestrator::CreateLag(const limid_t& lag) {
  if (!limid_is_from_type(lag, limid_type_lag) || HasLag(lag)) return -2;
  lags_.insert(lag);
  bcm_gport_t gport;
  BCM_GPORT_TRUNK_SET(gport, limid_number(lag));
  HalBcmCommon::GetInstance().SetGport(lag, gport);
  return tell_clients([&](const Callback& c) { return !c.lag_created || c.lag_created(lag); });
}

// Why `member` cannot join `lag`; empty when it can.
std::string LagOrchestrator::RefusedMember(const limid_t& lag, const limid_t& member) const {
  if (!HasLag(lag)) return "there is no such LAG";
  if (limid_is_from_type(member, limid_type_lag)) return "a LAG cannot be a member of a LAG";
  const limid_t current = HalBcmCommon::GetInstance().GetLagOfMember(member);
  if (current == lag) return "it is already a member";
  if (!(current == limid_null)) return "it is a member of " + limid_name(current);
  return "";
}

int LagOrchestrator::AddMember(const limid_t& lag, const limid_t& member) {
  if (const std::string refusal = RefusedMember(lag, member); !refusal.empty()) {
    HalCallbacksItf::getInstance().log(HalCallbacksItf::kError, "Cannot add %s to %s: %s",
                                       limid_name(member).c_str(), limid_name(lag).c_str(),
                                       refusal.c_str());
    return -2;
  }
  HalBcmCommon& common = HalBcmCommon::GetInstance();
  common.AddLagMember(lag, member);
  return tell_clients(
      [&](const Callback& c) { return !c.member_added || c.member_added(lag, member); });
}

int LagOrchestrator::RemoveMember(const limid_t& lag, const limid_t& member) {
  HalBcmCommon& common = HalBcmCommon::GetInstance();
  if (!HasLag(lag) || !common.GetLagMembers(lag).count(member)) return -2;
  common.RemoveLagMember(lag, member);
  return tell_clients(
      [&](const Callback& c) { return !c.member_removed || c.member_removed(lag, member); });
}

int LagOrchestrator::DestroyLag(const limid_t& lag) {
  if (!HasLag(lag)) return -2;
  int rc =
      tell_clients([&](const Callback& c) { return !c.lag_destroyed || c.lag_destroyed(lag); });
  HalBcmCommon& common = HalBcmCommon::GetInstance();
  common.ForgetLag(lag);
  common.RemoveGport(lag);
  lags_.erase(lag);
  return rc;
}

}  // namespace halswitchl2if
