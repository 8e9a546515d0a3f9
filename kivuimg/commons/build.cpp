#include "kivuimg/commons/build.h"
