// Framquist: video-processing components with typed pins.
// Includes every public header of the library.
#pragma once

#include "ipp/ipp.h"

#include "wavquist/wqclock.h"
#include "wavquist/wqnotify.h"
#include "wavquist/wqoperationlist.h"

#include "pinweave/pwcomponent.h"
#include "pinweave/pwgate.h"
#include "pinweave/pwlock.h"
#include "pinweave/pwoperation.h"
#include "pinweave/pwpin.h"

#include "frame/fqcommonfilter.h"
#include "frame/fqcommongen.h"
#include "frame/fqendpoints.h"
#include "frame/fqform.h"
#include "frame/fqgeometricfilter.h"
#include "frame/fqimagebuffer.h"
#include "frame/fqimagepins.h"
#include "frame/fqmatrixfilter.h"
#include "frame/fqmirror.h"
#include "frame/fqregistry.h"
#include "frame/fqsinkfilter.h"
#include "frame/fqtypes.h"
#include "frame/fqvideoformat.h"

#include "generators/fqbasicnoise.h"
#include "generators/fqdrawlayer.h"
#include "generators/fqfire.h"
#include "generators/fqfirelayer.h"
#include "generators/fqgaussnoise.h"
#include "generators/fqjaehnedispatcher.h"
#include "generators/fqjaehnegen.h"
#include "generators/fqripple.h"
#include "generators/fqsdispatcher.h"
#include "generators/fqtestpattern.h"
#include "generators/fquniformnoise.h"

#include "capture/fqfileendpoints.h"
#include "capture/fqrawpipe.h"
#include "capture/fqthreadedsource.h"
#include "capture/fqvideofile.h"

#include "streams/fqapplyalpha.h"
#include "streams/fqchangeformat.h"
#include "streams/fqcombine.h"
#include "streams/fqcommoncombine.h"
#include "streams/fqframechange.h"
#include "streams/fqmultiinput.h"

#include "filters/colour/fqcolorlookup.h"
#include "filters/colour/fqcolortwist.h"
#include "filters/colour/fqgammafilter.h"
#include "filters/colour/fqthreshold.h"
#include "filters/colour/fqtransparentcolor.h"
