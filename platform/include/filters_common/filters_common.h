// The filter model: groups of entries with matches, actions, counters and policers.
#pragma once

#include <filters_common/action.h>
#include <filters_common/counter.h>
#include <filters_common/filters_entry.h>
#include <filters_common/filters_group.h>
#include <filters_common/match.h>
#include <filters_common/types.h>
