#include "kivuimg/img/svg/polyline.h"

// A polyline is a polygon with an open path: all of it lives in the header.
