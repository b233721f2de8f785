#include "operations.hpp"

namespace tavtest {

using nkr::tavcore::IVelocityModeService;

namespace {

/** The ten objects that are read and written. */
std::vector<Step> parameter_steps(Step (*access)(std::string, Value)) {
  const std::string amount = "vl_velocity_min_max_amount vl_velocity_min_max_amount_vl_velocity_";
  const std::string acceleration = "vl_velocity_acceleration vl_velocity_acceleration_";
  const std::string deceleration = "vl_velocity_deceleration vl_velocity_deceleration_";
  const std::string quick_stop = "vl_velocity_quick_stop vl_velocity_quick_stop_";
  const std::string factor = "vl_set_point_factor vl_set_point_factor_";
  return {access(amount + "min_amount", 21U),        access(amount + "max_amount", 22U),
          access(acceleration + "delta_speed", 23U), access(acceleration + "delta_time", u16(24)),
          access(deceleration + "delta_speed", 25U), access(deceleration + "delta_time", u16(26)),
          access(quick_stop + "delta_speed", 27U),   access(quick_stop + "delta_time", u16(28)),
          access(factor + "numerator", i16(-29)),    access(factor + "denominator", i16(30))};
}

Operation parameter_getter() {
  std::vector<Step> steps = parameter_steps(read);
  steps.push_back(read("vl_dimension_factor vl_dimension_factor_numerator", -31));
  steps.push_back(read("vl_dimension_factor vl_dimension_factor_denominator", 32));
  return plain_getter(
      "getVelocityModeParameters",
      IVelocityModeService::VelocityModeParameters{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12},
      [](const auto& dispatcher, auto& p) { return dispatcher.getVelocityModeParameters(p); },
      [](const auto& p) {
        return Values{p.min_amount,
                      p.max_amount,
                      p.acceleration_delta_speed,
                      p.acceleration_delta_time,
                      p.deceleration_delta_speed,
                      p.deceleration_delta_time,
                      p.quick_stop_delta_speed,
                      p.quick_stop_delta_time,
                      p.set_point_factor_numerator,
                      p.set_point_factor_denominator,
                      p.dimension_factor_numerator,
                      p.dimension_factor_denominator};
      },
      std::move(steps));
}

template <class Call>
Operation controlword_change(std::string name, std::string variant, unsigned found, unsigned written,
                             Call call) {
  return setter(std::move(name), call, {read("controlword", u16(found)), write("controlword", u16(written))})
      .as(std::move(variant));
}

std::vector<Operation> controlword_changes() {
  return {
      controlword_change("setEnableRamp", "on", 0x010F, 0x011F,
                         [](auto& dispatcher) { return dispatcher.setEnableRamp(true); }),
      controlword_change("setEnableRamp", "off", 0xFFFF, 0xFFEF,
                         [](auto& dispatcher) { return dispatcher.setEnableRamp(false); }),
      controlword_change("setUnlockRamp", "on", 0x010F, 0x012F,
                         [](auto& dispatcher) { return dispatcher.setUnlockRamp(true); }),
      controlword_change("setUnlockRamp", "off", 0xFFFF, 0xFFDF,
                         [](auto& dispatcher) { return dispatcher.setUnlockRamp(false); }),
      controlword_change("setReferenceRamp", "on", 0x010F, 0x014F,
                         [](auto& dispatcher) { return dispatcher.setReferenceRamp(true); }),
      controlword_change("setReferenceRamp", "off", 0xFFFF, 0xFFBF,
                         [](auto& dispatcher) { return dispatcher.setReferenceRamp(false); }),
      controlword_change("setHalt", "on", 0x000F, 0x010F,
                         [](auto& dispatcher) { return dispatcher.setHalt(true); }),
      controlword_change("setHalt", "off", 0xFFFF, 0xFEFF,
                         [](auto& dispatcher) { return dispatcher.setHalt(false); }),
  };
}

}  // namespace

std::vector<Operation> velocity_operations() {
  std::vector<Operation> operations{
      setter("setTargetVelocity", [](auto& dispatcher) { return dispatcher.setTargetVelocity(i16(-1500)); },
             {write("vl_target_velocity", i16(-1500))}),
      plain_getter(
          "getTargetVelocity", i16(1), [](const auto& d, std::int16_t& v) { return d.getTargetVelocity(v); },
          [](std::int16_t v) { return Values{v}; }, {read("vl_target_velocity", i16(-32768))}),
      plain_getter(
          "getVelocityActualValue", 1,
          [](const auto& d, std::int32_t& v) { return d.getVelocityActualValue(v); },
          [](std::int32_t v) { return Values{v}; }, {read("velocity_actual_value", -70000)}),
      plain_getter(
          "getVelocityDemand", i16(1), [](const auto& d, std::int16_t& v) { return d.getVelocityDemand(v); },
          [](std::int16_t v) { return Values{v}; }, {read("vl_velocity_demand", i16(-7))}),
      plain_getter(
          "getPositionValue", 1, [](const auto& d, std::int32_t& v) { return d.getPositionValue(v); },
          [](std::int32_t v) { return Values{v}; }, {read("position_value", -2000000000)}),
      parameter_getter(),
      setter(
          "setVelocityModeParameters",
          [](auto& dispatcher) {
            return dispatcher.setVelocityModeParameters({21, 22, 23, 24, 25, 26, 27, 28, -29, 30, 999, 999});
          },
          parameter_steps(write)),
      getter(
          "getVelocityModeStatusword", IVelocityModeService::VelocityModeStatusword{false},
          [](const auto& d, auto& word) { return d.getVelocityModeStatusword(word); },
          [](const auto& word) { return Values{word.internal_limit_active}; },
          {read("statusword", u16(0x0800)).converted(0, true)}),
      getter(
          "getVelocityModeControlword",
          IVelocityModeService::VelocityModeControlword{true, false, true, false},
          [](const auto& d, auto& word) { return d.getVelocityModeControlword(word); },
          [](const auto& w) {
            return Values{w.enable_ramp, w.unlock_ramp, w.reference_ramp, w.halt};
          },
          {read("controlword", u16(0x0120))
               .converted(0, false)
               .converted(1, true)
               .converted(2, false)
               .converted(3, true)}),
  };
  for (Operation& operation : controlword_changes()) operations.push_back(std::move(operation));
  return operations;
}

}  // namespace tavtest
