// All image primitives.
#pragma once

#include "ipp/ippalpha.h"
#include "ipp/ipparith.h"
#include "ipp/ippcolortwist.h"
#include "ipp/ippcopy.h"
#include "ipp/ippdefs.h"
#include "ipp/ippdispatch.h"
#include "ipp/ippfilter.h"
#include "ipp/ippgamma.h"
#include "ipp/ippjaehne.h"
#include "ipp/ipplut.h"
#include "ipp/ippmirror.h"
#include "ipp/ippmulcscale.h"
#include "ipp/ipppalette.h"
#include "ipp/ipprandom.h"
#include "ipp/ippremap.h"
#include "ipp/ippthreshold.h"
