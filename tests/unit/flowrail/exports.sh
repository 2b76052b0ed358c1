#!/usr/bin/env bash
# exports.sh LIBRARY: the library lets out what its header declares, and nothing else.
set -euo pipefail
found=$(nm -DC --defined-only "$1" | cut -d' ' -f3- | sed 's/(.*//' | sort)
expected=$(sort <<'LIST'
CFlowRail::GetVersion
CFlowRail::SetLoggingParameters
CFlowRailFactory::CreateInstance
CFlowRailFactory::RemoveAbandoned
CFlowRailFactory::SurviveCutRails
typeinfo for CFlowRail
typeinfo name for CFlowRail
LIST
)
diff <(echo "$expected") <(echo "$found")
