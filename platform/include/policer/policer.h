// The policer model: a meter (mode and rates) with what to do with packets of each colour.
#pragma once

#include <list>

namespace policer {

enum Color : int {
  COLOR_RED = 0,
  COLOR_YELLOW = 1,
  COLOR_GREEN = 2,
};

class Action {
 public:
  enum Type : int {
    TYPE_DROP = 0,
    TYPE_SET_PCP = 1,
    TYPE_SET_DSCP = 2,
  };

  Action() = default;
  Action(Color color, Type type, unsigned char pcp = 0, unsigned char dscp = 0)
      : color_(color), type_(type), pcp_(pcp), dscp_(dscp) {}

  Color GetColor() const { return color_; }
  Type GetType() const { return type_; }
  unsigned char GetPcp() const { return pcp_; }
  unsigned char GetDscp() const { return dscp_; }

 private:
  Color color_ = COLOR_RED;
  Type type_ = TYPE_DROP;
  unsigned char pcp_ = 0;
  unsigned char dscp_ = 0;
};

// Rates in kbit/s, burst sizes in bytes.
class Mode {
 public:
  enum Type : int {
    TYPE_SR_TCM = 0,     // single rate, three colours: CIR, CBS, EBS
    TYPE_TR_TCM = 1,     // two rates, three colours: CIR, CBS, PIR, PBS
    TYPE_TR_TCM_DS = 2,  // the differentiated-services variant: CIR, CBS, EIR, EBS
    TYPE_FLOW = 3,       // one rate, one bucket: CIR, CBS
    TYPE_NONE = 4,
  };

  Mode() = default;
  Mode(Type type, unsigned cir, unsigned cbs, unsigned pir, unsigned pbs, unsigned eir,
       unsigned ebs)
      : type_(type), cir_(cir), cbs_(cbs), pir_(pir), pbs_(pbs), eir_(eir), ebs_(ebs) {}

  static Mode SrTcm(unsigned cir, unsigned cbs, unsigned ebs) {
    return Mode(TYPE_SR_TCM, cir, cbs, 0, 0, 0, ebs);
  }
  static Mode TrTcm(unsigned cir, unsigned cbs, unsigned pir, unsigned pbs) {
    return Mode(TYPE_TR_TCM, cir, cbs, pir, pbs, 0, 0);
  }
  static Mode TrTcmDs(unsigned cir, unsigned cbs, unsigned eir, unsigned ebs) {
    return Mode(TYPE_TR_TCM_DS, cir, cbs, 0, 0, eir, ebs);
  }
  static Mode Flow(unsigned cir, unsigned cbs) { return Mode(TYPE_FLOW, cir, cbs, 0, 0, 0, 0); }

  Type GetType() const { return type_; }
  unsigned GetCir() const { return cir_; }
  unsigned GetCbs() const { return cbs_; }
  unsigned GetPir() const { return pir_; }
  unsigned GetPbs() const { return pbs_; }
  unsigned GetEir() const { return eir_; }
  unsigned GetEbs() const { return ebs_; }

 private:
  Type type_ = TYPE_NONE;
  unsigned cir_ = 0;
  unsigned cbs_ = 0;
  unsigned pir_ = 0;
  unsigned pbs_ = 0;
  unsigned eir_ = 0;
  unsigned ebs_ = 0;
};

class Policer {
 public:
  enum Stage : int {
    STAGE_INGRESS = 0,
    STAGE_EGRESS = 1,
    STAGE_NONE = 2,
  };
  static constexpr unsigned kNoId = 0xFFFFFFFF;

  Policer() = default;
  Policer(unsigned id, Stage stage, Mode mode, std::list<Action> actions)
      : id_(id), stage_(stage), mode_(mode), actions_(std::move(actions)) {}

  unsigned GetId() const { return id_; }
  Stage GetStage() const { return stage_; }
  const Mode& GetMode() const { return mode_; }
  const std::list<Action>& GetActions() const { return actions_; }

 private:
  unsigned id_ = kNoId;
  Stage stage_ = STAGE_NONE;
  Mode mode_;
  std::list<Action> actions_;
};

}  // namespace policer
