// Marks what libpelgo_baseuafw exports; everything else stays hidden.
#ifndef BASEUAFW_API_H_INCLUDED
#define BASEUAFW_API_H_INCLUDED

#define BASEUAFW_API __attribute__((visibility("default")))

#endif
