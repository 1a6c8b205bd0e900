#pragma once
// sys/vnode.h: the object types that getattrlistbulk reports in ATTR_CMN_OBJTYPE.

enum vtype { VNON, VREG, VDIR, VBLK, VCHR, VLNK, VSOCK, VFIFO, VBAD, VSTR, VCPLX };
