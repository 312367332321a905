// Port qualifiers: one ingress or egress port (InPort, OutPort, SrcPort) at pre-ingress and
// egress, the cached port bitmap (InPorts) at ingress, and virtual ports.
#include <hal_filters_ll/match_translation.h>

#include <hal_filters_ll/filter_entries_cache.h>

#include "hal_id_lookup.h"
#include "match_setter.h"
#include "port_bitmap.h"

namespace HalFiltersLL {
namespace {

using namespace FiltersCommon;

// Writes InPorts with the given ports, masked by every port of the unit.
int writeInPorts(int unit, int eid, const _shr_pbmp& ports) {
  _shr_pbmp all;
  if (getAllPortsBmp(unit, all) != HAL_FILTERS_OK) return HAL_FILTERS_ERR_FAILED;
  return qualifierResultToHalErr(bcm_field_qualify_InPorts(unit, eid, ports, all), eid);
}

// Pre-ingress and egress match exactly one ingress port, as it stands (LAGs were expanded into
// their members before).
int qualifyOneIngressPort(const Match* match, int eid, const char* stage_name) {
  char text[160];
  std::snprintf(text, sizeof(text), "Filters-ll-bcm: MatchIngressPorts casting error at %s stage\n",
                stage_name);
  auto* typed = matchAs<MatchIngressPorts>(match, text);
  if (!typed) return HAL_FILTERS_ERR_FAILED;
  if (!typed->getExcludedPortTypes().empty()) {
    callbacks().log(kLogError,
                    "Filters-ll-bcm: match by excluded port types is not supported at %s stage\n",
                    stage_name);
    return HAL_FILTERS_ERR_FAILED;
  }
  if (typed->getPorts().size() != 1) {
    callbacks().log(kLogError, "Filters-ll-bcm: too much interfaces on %s match\n", stage_name);
    return HAL_FILTERS_ERR_FAILED;
  }
  const auto gport =
      lookUpHalId([&] { return HalBcmCommon::GetInstance().GetGport(typed->getPorts().front()); },
                  [&](const char* miss) {
                    callbacks().log(kLogError, "Filters-ll-bcm: failed to get BCM ports (%s) - %s\n",
                                    stage_name, miss);
                  });
  if (!gport) return HAL_FILTERS_ERR_FAILED;
  return qualifierResultToHalErr(
      bcm_field_qualify_InPort(bcmUnit(), eid, localPortOfGport(*gport), 0xFFFF), eid);
}

}  // namespace

int setBcmIngressPortsQualifier(filtersGroupStage_t stage, const Match* match, int eid) {
  switch (stage) {
    case FILTERS_GROUP_STAGE_INGRESS: {
      auto* typed = matchAs<MatchIngressPorts>(
          match, "Filters-ll-bcm: MatchIngressPorts casting error at ingress stage\n");
      if (!typed) return HAL_FILTERS_ERR_FAILED;
      if (filters_cache_.UpdateIngressEntryInformation(*typed, eid) != 0) {
        return HAL_FILTERS_ERR_FAILED;
      }
      return ConfigureInPortsMatch(eid);
    }
    case FILTERS_GROUP_STAGE_EGRESS:
      return qualifyOneIngressPort(match, eid, "egress");
    case FILTERS_GROUP_STAGE_PRE_INGRESS:
      return qualifyOneIngressPort(match, eid, "pre-ingress");
    default:
      callbacks().log(kLogError, "Filters-ll-bcm: match ingress ports on unsupported stage\n");
      return HAL_FILTERS_ERR_FAILED;
  }
}

int ConfigureInPortsMatch(const int& eid) {
  _shr_pbmp ports;
  if (int rc = filters_cache_.GetIngressEntryPbmp(eid, ports); rc != 0) return rc;
  return writeInPorts(bcmUnit(), eid, ports);
}

int setBcmEgressPortQualifier(const Match* match, int eid) {
  auto* typed =
      matchAs<MatchEgressPorts>(match, "Filters-ll-bcm: MatchEgressPorts casting error\n");
  if (!typed) return HAL_FILTERS_ERR_FAILED;
  const std::list<limid_t>& ports = typed->getPorts();
  if (ports.empty()) return HAL_FILTERS_OK;
  if (ports.size() > 1) {
    callbacks().log(
        kLogError,
        "Filters-ll-bcm: too much interfaces for the same egress hardware filter entry\n");
    return HAL_FILTERS_ERR_FAILED;
  }
  // A LAG is expanded into one entry per member elsewhere.
  if (limid_is_from_type(ports.front(), limid_type_lag)) return HAL_FILTERS_OK;
  const auto gport = lookUpHalId(
      [&] { return HalBcmCommon::GetInstance().GetGport(ports.front()); },
      [](const char* miss) {
        callbacks().log(kLogError,
                        "Filters-ll-bcm: failed to convert port to gport (egress) - %s\n", miss);
      });
  if (!gport) return HAL_FILTERS_ERR_FAILED;
  return qualifierResultToHalErr(
      bcm_field_qualify_OutPort(bcmUnit(), eid, localPortOfGport(*gport), 0xFF), eid);
}

int setBcmSrcPortQualifier(const Match* match, int eid) {
  auto* typed = matchAs<MatchSrcPort>(match, "Filters-ll-bcm: MatchSrcPort casting error\n");
  if (!typed) return HAL_FILTERS_ERR_FAILED;
  const auto gport = lookUpHalId(
      [&] { return HalBcmCommon::GetInstance().GetGport(typed->getLimId()); },
      [&](const char* miss) {
        char name[64];
        callbacks().log(kLogError, "Filters-ll-bcm: failed to get BCM port for '%s' - %s\n",
                        limid_to_intfname(typed->getLimId(), name, sizeof(name)), miss);
      });
  if (!gport) return HAL_FILTERS_ERR_FAILED;
  return qualifierResultToHalErr(
      bcm_field_qualify_SrcPort(bcmUnit(), eid, 0, 0, localPortOfGport(*gport), ~0), eid);
}

int setBcmVirtualPortQualifier(const Match* match, int eid) {
  auto* typed =
      matchAs<MatchVirtualPort>(match, "Filters-ll-bcm: MatchVirtualPort casting error\n");
  if (!typed) return HAL_FILTERS_ERR_FAILED;
  const HalBcmCommon& common = HalBcmCommon::GetInstance();
  // Not a virtual port: a service port, matched by its local port.
  const auto virtual_gport =
      lookUpHalId([&] { return common.GetVirtualPortGport(typed->getLimId()); }, [](const char*) {});
  if (virtual_gport) {
    return qualifierResultToHalErr(bcm_field_qualify_SrcGport(bcmUnit(), eid, *virtual_gport), eid);
  }
  const auto service_gport =
      lookUpHalId([&] { return common.GetGportServicePort(typed->getLimId()); }, [](const char*) {
        callbacks().log(kLogError, "Filters-ll-bcm: Virtual Port not found\n");
      });
  if (!service_gport) return HAL_FILTERS_ERR_FAILED;
  _shr_pbmp ports;
  BCM_PBMP_CLEAR(ports);
  addLocalPort(ports, *service_gport);
  return writeInPorts(bcmUnit(), eid, ports);
}

}  // namespace HalFiltersLL
