#!/usr/bin/env python3
"""Holds the virtual operations of the public classes - order, const, [[nodiscard]] - against what callers rely on.

The order is read off the compiler's own class dump (g++ -fdump-lang-class), so that it is the order of the slots.
Usage: class_order.py COMPILER INCLUDE_DIR...
"""
import re
import subprocess
import sys
import tempfile
from pathlib import Path

INTERFACES = {
    "IDiagnosticService": """
        getAxisData getTavInfos setTavInfos""".split(),
    "IInternalService": """
        _storeParameters _restoreDefaultParameters _setDeviceParameters _getSelfTestStatus
        _simulateSelfTestError _getCalibrationParameters _getSystemErrorConfig _setSystemErrorConfig
        _getLevel1Error _setNodeId""".split(),
    "INMTService": """
        getNMTState setNMTState""".split(),
    "IEMCYService": """
        getErrorBehavior setErrorBehavior clearErrorList getErrorCount getErrorRegister getError""".split(),
    "IPDSService": """
        getPeripheralStatus getPDSState disableVoltage shutdown quickStop switchOn enableOperation
        disableOperation faultReset enterInOperationEnabledState getAbortConnectionOptionCode
        setAbortConnectionOptionCode getQuickStopOptionCode setQuickStopOptionCode getShutdownOptionCode
        setShutdownOptionCode getDisableOperationOptionCode setDisableOperationOptionCode getHaltOptionCode
        setHaltOptionCode getFaultReactionOptionCode setFaultReactionOptionCode getOperationModes
        isDriveModeSupported getUnitParameters setUnitParameters getPolarityParameters setPolarityParameters""".split(),
    "ISafeMotionService": """
        getSafetyControlWordMapping setSafetyControlWordMapping getSafetyStatusWordMapping
        setSafetyStatusWordMapping getSafetyFunctionCommand getSafetyFunctionStatus getSafetyControlWord
        setSafetyControlWord getSafetyStatusWord getSTOParameters setSTOParameters getSLSParameters
        setSLSParameters getSDIParameters setSDIParameters getSBCParameters setSBCParameters""".split(),
    "ICommunicationService": """
        storeParameters restoreDefaultParameters getIdentityParameters getNetworkParameters
        setNetworkParameters getCommunicationParameters setCommunicationParameters
        getSDOCommunicationParameters setSDOCommunicationParameters getRPDOCommunicationParameters
        setRPDOCommunicationParameters getTPDOCommunicationParameters setTPDOCommunicationParameters
        getRPDOMappingParameters setRPDOMappingParameters getTPDOMappingParameters setTPDOMappingParameters""".split(),
    "IManufacturerService": """
        getDeviceParameters getVRXParameters setVRXParameters getCalibrationValidity getSystemErrorState
        getSystemErrorProtectState getSWVersion getHWVersion checkHWCompatibility getOdometryValue""".split(),
    "IVelocityModeService": """
        setTargetVelocity getTargetVelocity getVelocityActualValue getVelocityDemand getPositionValue
        getVelocityModeParameters setVelocityModeParameters getVelocityModeStatusword
        getVelocityModeControlword setEnableRamp setUnlockRamp setReferenceRamp setHalt""".split(),
    "ISRDOService": """
        getSRDOParameters setSRDOParameters getSRDOMapping getSRDOConfigurationValidity
        setSRDOConfigurationValidity""".split(),
}
DISPATCHER_OWN = """
    init isConfigLoaded isClientInitialized syncTav getSWVersion getHWVersion getHWConfig getHWId""".split()
CLIENT = """
    isInitialized getBytes setBytes sync broadcastNMTCommand sendSync getTimeSinceHeard getLastFailureText
    getNMTState setNMTState""".split()
CLIENT_TYPES = """
    std::__cxx11::string int64_t int32_t int16_t int8_t uint64_t uint32_t uint16_t uint8_t float double bool""".split()
NOT_CONST = """
    setTavInfos _storeParameters _restoreDefaultParameters _setDeviceParameters _setSystemErrorConfig _setNodeId
    setNMTState setErrorBehavior clearErrorList enterInOperationEnabledState setUnitParameters setPolarityParameters
    setSafetyControlWordMapping setSafetyStatusWordMapping setSafetyControlWord setSTOParameters setSLSParameters
    setSDIParameters setSBCParameters storeParameters restoreDefaultParameters setNetworkParameters
    setCommunicationParameters setSDOCommunicationParameters setRPDOCommunicationParameters
    setTPDOCommunicationParameters setRPDOMappingParameters setTPDOMappingParameters setVRXParameters
    setTargetVelocity setVelocityModeParameters setEnableRamp setUnlockRamp setReferenceRamp setHalt
    setSRDOParameters setSRDOConfigurationValidity""".split()

PROGRAM = """
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/Controller.hpp>
nkr::tavcore::Controller* c;
nkr::tavcore::CANOpenDispatcher* d;
nkr::canopencore::IService* s;
std::size_t used() { return sizeof(*c) + sizeof(*d) + sizeof(*s); }
"""


def class_dump(compiler, includes):
    with tempfile.TemporaryDirectory() as folder:
        source = Path(folder) / "dump.cpp"
        source.write_text(PROGRAM)
        flags = [f"-I{path}" for path in includes]
        subprocess.run([compiler, "-std=c++17", "-fdump-lang-class", *flags, "-c", "dump.cpp", "-o", "dump.o"],
                       cwd=folder, check=True)
        return next(Path(folder).glob("*.class")).read_text()


def slots(dump, name):
    """The signatures in the primary table of a class, destructors left out."""
    block = re.search(rf"^Vtable for {re.escape(name)}\n(.*?)\n\n", dump, re.S | re.M).group(1)
    entries = []
    for line in block.splitlines()[2:]:
        match = re.match(r"\d+\s+(.*)$", line)
        if not match:
            continue
        entry = match.group(1)
        if entry.startswith("(int (*)(...))-"):
            break  # the table of the next base begins
        entry = entry.replace("(int (*)(...))", "")
        if "::" in entry and "::~" not in entry and not entry.startswith("(& _ZTI") and "_ZThn" not in entry:
            entries.append(entry)
        elif entry == "__cxa_pure_virtual":
            entries.append(entry)
    return entries


def names(entries):
    return [re.search(r"::(\w+)$", entry.split("(")[0]).group(1) if "(" in entry else entry.rsplit("::", 1)[-1]
            for entry in entries]


def check(what, seen, expected):
    if seen != expected:
        print(f"{what}: the order of the virtual operations differs")
        for position, (a, b) in enumerate(zip(seen + [None] * len(expected), expected + [None] * len(seen))):
            if a != b:
                print(f"  slot {position}: is {a}, must be {b}")
                break
        return False
    print(f"{what}: {len(seen)} operations in order")
    return True


def declared(header, pattern):
    return re.findall(pattern, Path(header).read_text())


def check_qualifiers(header):
    """Every operation must not be ignored; all but the listed ones leave the object as it is."""
    operations = re.findall(r"(NKR_NODISCARD )?virtual nkr_error_t (\w+)\(([^;]*?)\)( const)? = 0;",
                            header.read_text(), re.S)
    good = True
    for nodiscard, name, _, const in operations:
        if not nodiscard:
            print(f"{header.name}: {name} can be ignored")
            good = False
        if bool(const) == (name in NOT_CONST):
            print(f"{header.name}: {name} is {'' if const else 'not '}const")
            good = False
    return good


def main():
    compiler, *includes = sys.argv[1:]
    dump = class_dump(compiler, includes)
    tavcore = next(Path(path) / "tavcore" for path in includes if (Path(path) / "tavcore").is_dir())
    good = True
    services = []
    for name, operations in INTERFACES.items():
        seen = declared(tavcore / f"{name}.hpp", r"virtual nkr_error_t (\w+)\(")
        good &= check(name, seen, operations)
        services += operations
    first = INTERFACES["IDiagnosticService"]
    good &= check("Controller", names(slots(dump, "nkr::tavcore::Controller")),
                  first + ["init"] + services[len(first):])
    good &= check("CANOpenDispatcher", names(slots(dump, "nkr::tavcore::CANOpenDispatcher")),
                  first + DISPATCHER_OWN + services[len(first):])
    client = declared(next(Path(p) / "nkr/canopencore/IService.hpp" for p in includes
                           if (Path(p) / "nkr/canopencore/IService.hpp").is_file()),
                      r"virtual (?:nkr_error_t|bool) (\w+)\(([^)]*)\)")
    good &= check("client", [name for name, _ in client],
                  CLIENT + ["getValue", "setValue"] * len(CLIENT_TYPES))
    types = [re.search(r"(?:const )?([\w:]+)& value", parameters).group(1).replace("std::", "")
             for name, parameters in client if name in ("getValue", "setValue")]
    expected = [kind.split("::")[-1] for kind in CLIENT_TYPES for _ in range(2)]
    good &= check("client types", types, expected)
    good &= all(check_qualifiers(tavcore / f"{name}.hpp") for name in INTERFACES)
    bases = re.search(r"class NKR_EXPORT IService : (.*?)\{", (tavcore / "IService.hpp").read_text(), re.S).group(1)
    good &= check("IService bases", re.findall(r"public (\w+)", bases), list(INTERFACES))
    return 0 if good else 1


sys.exit(main())
