// KIVU_API marks what libkivuimg.so exports: the C entry functions, the
// document writer (TPdfDocument and kivuimg.h), and the classes and
// functions a host calls (images, the object store, buffers, settings,
// colours, measures and the enumerations with their spellings).  The layout
// words and document tags of the engine stay inside.
// The library is compiled with hidden visibility, so everything else stays
// inside it; the tests and the kivuimg tool link the static build instead.
#pragma once

#define KIVU_API __attribute__((visibility("default")))
