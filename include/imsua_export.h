// Marks what libimsua exports; everything else stays hidden.
#ifndef IMSUA_EXPORT_H_INCLUDED
#define IMSUA_EXPORT_H_INCLUDED

#define IMSUA_API __attribute__((visibility("default")))

#endif
