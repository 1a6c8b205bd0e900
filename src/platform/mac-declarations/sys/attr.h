#pragma once
// sys/attr.h: the attribute lists of getattrlist(2) and getattrlistbulk(2).

#include <cstdint>
#include <sys/types.h>

extern "C" {

typedef std::uint32_t attrgroup_t;
typedef std::uint32_t fsobj_type_t;
typedef std::uint32_t fsobj_tag_t;
typedef std::uint32_t fsfile_type_t;

struct attrlist {
    unsigned short bitmapcount;
    std::uint16_t reserved;
    attrgroup_t commonattr;
    attrgroup_t volattr;
    attrgroup_t dirattr;
    attrgroup_t fileattr;
    attrgroup_t forkattr;
};
#define ATTR_BIT_MAP_COUNT 5

typedef struct attribute_set {
    attrgroup_t commonattr;
    attrgroup_t volattr;
    attrgroup_t dirattr;
    attrgroup_t fileattr;
    attrgroup_t forkattr;
} attribute_set_t;

typedef struct attrreference {
    std::int32_t attr_dataoffset;
    std::uint32_t attr_length;
} attrreference_t;

#define ATTR_CMN_NAME 0x00000001
#define ATTR_CMN_DEVID 0x00000002
#define ATTR_CMN_FSID 0x00000004
#define ATTR_CMN_OBJTYPE 0x00000008
#define ATTR_CMN_OBJTAG 0x00000010
#define ATTR_CMN_OBJID 0x00000020
#define ATTR_CMN_OBJPERMANENTID 0x00000040
#define ATTR_CMN_PAROBJID 0x00000080
#define ATTR_CMN_MODTIME 0x00000400
#define ATTR_CMN_FLAGS 0x00040000
#define ATTR_CMN_FILEID 0x02000000
#define ATTR_CMN_PARENTID 0x04000000
#define ATTR_CMN_ERROR 0x20000000
#define ATTR_CMN_RETURNED_ATTRS 0x80000000

#define ATTR_FILE_LINKCOUNT 0x00000001
#define ATTR_FILE_TOTALSIZE 0x00000002
#define ATTR_FILE_ALLOCSIZE 0x00000004
#define ATTR_FILE_DATALENGTH 0x00000200
#define ATTR_FILE_DATAALLOCSIZE 0x00000400

#define ATTR_CMNEXT_PRIVATESIZE 0x00000008

#define FSOPT_NOFOLLOW 0x00000001
#define FSOPT_PACK_INVAL_ATTRS 0x00000008
#define FSOPT_ATTR_CMN_EXTENDED 0x00000020

int getattrlist(const char* path, void* attrList, void* attrBuf, size_t attrBufSize,
                unsigned int options);

} // extern "C"
