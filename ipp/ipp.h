// All image primitives.
#pragma once

#include "ipp/ipparith.h"
#include "ipp/ippcopy.h"
#include "ipp/ippdefs.h"
#include "ipp/ippdispatch.h"
#include "ipp/ippmirror.h"
