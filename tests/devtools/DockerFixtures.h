#pragma once

// What the docker command-line tool prints, captured byte for byte (CLI 28.2.2, TZ=Europe/Berlin)
// or built from its source where noted.

#include <QByteArray>

namespace corvane::test::docker {

// "system df -v": an image with a second tag missing here, two untagged images, a "1e+03MB"
// size, "N/A" sizes, a compose container, an anonymous volume, a volume without usage numbers,
// a never-used and an in-use build cache record. No newline at the end.
inline const QByteArray
    report28 = R"fixture({"Images":[{"Containers":"1","CreatedAt":"2024-06-03 18:00:00 +0200 CEST","CreatedSince":"2 years ago","Digest":"","ID":"sha256:5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c","Repository":"postgres","SharedSize":"0B","Size":"453MB","Tag":"16","UniqueSize":"453.1MB","VirtualSize":"453.1MB"},{"Containers":"0","CreatedAt":"2024-03-01 11:46:40 +0100 CET","CreatedSince":"2 years ago","Digest":"","ID":"sha256:9c7a54a9a43cca047013b82af109fe963fde787f63f9e016fdc3384500c2823d","Repository":"node","SharedSize":"7.8MB","Size":"1e+03MB","Tag":"20-alpine","UniqueSize":"991.8MB","VirtualSize":"999.6MB"},{"Containers":"0","CreatedAt":"2023-11-14 23:13:20 +0100 CET","CreatedSince":"3 years ago","Digest":"","ID":"sha256:0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d","Repository":"\u003cnone\u003e","SharedSize":"7.8MB","Size":"1.23GB","Tag":"\u003cnone\u003e","UniqueSize":"1.227GB","VirtualSize":"1.235GB"},{"Containers":"0","CreatedAt":"2023-07-22 06:26:40 +0200 CEST","CreatedSince":"3 years ago","Digest":"","ID":"sha256:3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f","Repository":"\u003cnone\u003e","SharedSize":"0B","Size":"0B","Tag":"\u003cnone\u003e","UniqueSize":"0B","VirtualSize":"0B"},{"Containers":"2","CreatedAt":"2024-06-04 13:20:00 +0200 CEST","CreatedSince":"2 years ago","Digest":"","ID":"sha256:4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a","Repository":"registry.example.com/acme/api","SharedSize":"N/A","Size":"87.7MB","Tag":"1.4.2","UniqueSize":"N/A","VirtualSize":"87.65MB"}],"Containers":[{"Command":"\"docker-entrypoint.sh postgres\"","CreatedAt":"2024-06-03 18:10:00 +0200 CEST","ID":"4f2c1a9e8b7d6c5a4f3e2d1c0b9a8f7e6d5c4b3a2f1e0d9c8b7a6f5e4d3c2b1a","Image":"postgres:16","Labels":"com.docker.compose.config-hash=abc,def=1,com.docker.compose.project=shop,com.docker.compose.service=db","LocalVolumes":"1","Mounts":"shop_pgdata","Names":"shop-db-1","Networks":"shop_default","Platform":null,"Ports":"0.0.0.0:5432-\u003e5432/tcp","RunningFor":"2 years ago","Size":"63B","State":"running","Status":"Up 3 hours"},{"Command":"\"/bin/sh -c 'npm start'\"","CreatedAt":"2024-06-05 17:06:40 +0200 CEST","ID":"a1b2c3d4e5f60718293a4b5c6d7e8f90a1b2c3d4e5f60718293a4b5c6d7e8f90","Image":"sha256:4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a","Labels":"","LocalVolumes":"0","Mounts":"","Names":"api-test,other/link","Networks":"bridge","Platform":null,"Ports":"","RunningFor":"2 years ago","Size":"1.23MB","State":"exited","Status":"Exited (137) 2 days ago"}],"Volumes":[{"Availability":"N/A","Driver":"local","Group":"N/A","Labels":"com.docker.compose.project=shop,com.docker.compose.version=2.27.0,com.docker.compose.volume=pgdata","Links":"1","Mountpoint":"/var/lib/docker/volumes/shop_pgdata/_data","Name":"shop_pgdata","Scope":"local","Size":"48.21MB","Status":"N/A"},{"Availability":"N/A","Driver":"local","Group":"N/A","Labels":"com.docker.volume.anonymous=","Links":"0","Mountpoint":"/var/lib/docker/volumes/0f5e/_data","Name":"0f5e9c3b2a1d4e6f8a7b9c0d1e2f3a4b5c6d7e8f9a0b1c2d3e4f5a6b7c8d9e0f","Scope":"local","Size":"0B","Status":"N/A"},{"Availability":"N/A","Driver":"local","Group":"N/A","Labels":"","Links":"-1","Mountpoint":"/var/lib/docker/volumes/empty-labels/_data","Name":"empty-labels","Scope":"local","Size":"-1B","Status":"N/A"}],"BuildCache":[{"CacheType":"frontend","CreatedAt":"2024-05-20 07:00:00 +0000 UTC","CreatedSince":"2 years ago","Description":"pulled from registry.example.com/tools/dockerfile:1","ID":"z9z9z9z9z9z9z9z9z9z9z9z9z","InUse":"false","LastUsedAt":"","LastUsedSince":"","Parent":"","Shared":"true","Size":"12.5MB","UsageCount":"0"},{"CacheType":"regular","CreatedAt":"2024-06-01 10:11:12.123456789 +0000 UTC","CreatedSince":"2 years ago","Description":"mount / from exec /bin/sh -c npm ci","ID":"yb7s1v5u3k1y7c3f0t2t0l7wq","InUse":"false","LastUsedAt":"2024-06-02 08:09:10.987654321 +0000 UTC","LastUsedSince":"2 years ago","Parent":"","Shared":"false","Size":"734MB","UsageCount":"3"},{"CacheType":"source.local","CreatedAt":"2024-06-04 12:00:00 +0000 UTC","CreatedSince":"2 years ago","Description":"local source for context","ID":"k3m9x2p8q1w7e5r4t6y0u2i8o*","InUse":"true","LastUsedAt":"2024-06-04 12:00:01.5 +0000 UTC","LastUsedSince":"2 years ago","Parent":"","Shared":"false","Size":"4.1kB","UsageCount":"1"}]})fixture";

// The same report as CLI 29 prints it: no "VirtualSize", a "HealthStatus", a "Platform" object.
inline const QByteArray report29 =
    R"fixture({"Images":[{"Containers":"1","CreatedAt":"2024-06-03 18:00:00 +0200 CEST","CreatedSince":"2 years ago","Digest":"","ID":"sha256:5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c","Repository":"postgres","SharedSize":"0B","Size":"453MB","Tag":"16","UniqueSize":"453.1MB"},{"Containers":"0","CreatedAt":"2024-03-01 11:46:40 +0100 CET","CreatedSince":"2 years ago","Digest":"","ID":"sha256:9c7a54a9a43cca047013b82af109fe963fde787f63f9e016fdc3384500c2823d","Repository":"node","SharedSize":"7.8MB","Size":"1e+03MB","Tag":"20-alpine","UniqueSize":"991.8MB"},{"Containers":"0","CreatedAt":"2023-11-14 23:13:20 +0100 CET","CreatedSince":"3 years ago","Digest":"","ID":"sha256:0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d","Repository":"\u003cnone\u003e","SharedSize":"7.8MB","Size":"1.23GB","Tag":"\u003cnone\u003e","UniqueSize":"1.227GB"},{"Containers":"0","CreatedAt":"2023-07-22 06:26:40 +0200 CEST","CreatedSince":"3 years ago","Digest":"","ID":"sha256:3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f","Repository":"\u003cnone\u003e","SharedSize":"0B","Size":"0B","Tag":"\u003cnone\u003e","UniqueSize":"0B"},{"Containers":"2","CreatedAt":"2024-06-04 13:20:00 +0200 CEST","CreatedSince":"2 years ago","Digest":"","ID":"sha256:4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a","Repository":"registry.example.com/acme/api","SharedSize":"N/A","Size":"87.7MB","Tag":"1.4.2","UniqueSize":"N/A"}],"Containers":[{"Command":"\"docker-entrypoint.sh postgres\"","CreatedAt":"2024-06-03 18:10:00 +0200 CEST","HealthStatus":"healthy","ID":"4f2c1a9e8b7d6c5a4f3e2d1c0b9a8f7e6d5c4b3a2f1e0d9c8b7a6f5e4d3c2b1a","Image":"postgres:16","Labels":"com.docker.compose.config-hash=abc,def=1,com.docker.compose.project=shop,com.docker.compose.service=db","LocalVolumes":"1","Mounts":"shop_pgdata","Names":"shop-db-1","Networks":"shop_default","Platform":{"architecture":"arm64","os":"linux"},"Ports":"0.0.0.0:5432-\u003e5432/tcp","RunningFor":"2 years ago","Size":"63B","State":"running","Status":"Up 3 hours"},{"Command":"\"/bin/sh -c 'npm start'\"","CreatedAt":"2024-06-05 17:06:40 +0200 CEST","HealthStatus":"","ID":"a1b2c3d4e5f60718293a4b5c6d7e8f90a1b2c3d4e5f60718293a4b5c6d7e8f90","Image":"sha256:4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a","Labels":"","LocalVolumes":"0","Mounts":"","Names":"api-test,other/link","Networks":"bridge","Platform":null,"Ports":"","RunningFor":"2 years ago","Size":"1.23MB","State":"exited","Status":"Exited (137) 2 days ago"}],"Volumes":[{"Availability":"N/A","Driver":"local","Group":"N/A","Labels":"com.docker.compose.project=shop,com.docker.compose.version=2.27.0,com.docker.compose.volume=pgdata","Links":"1","Mountpoint":"/var/lib/docker/volumes/shop_pgdata/_data","Name":"shop_pgdata","Scope":"local","Size":"48.21MB","Status":"N/A"},{"Availability":"N/A","Driver":"local","Group":"N/A","Labels":"com.docker.volume.anonymous=","Links":"0","Mountpoint":"/var/lib/docker/volumes/0f5e/_data","Name":"0f5e9c3b2a1d4e6f8a7b9c0d1e2f3a4b5c6d7e8f9a0b1c2d3e4f5a6b7c8d9e0f","Scope":"local","Size":"0B","Status":"N/A"},{"Availability":"N/A","Driver":"local","Group":"N/A","Labels":"","Links":"-1","Mountpoint":"/var/lib/docker/volumes/empty-labels/_data","Name":"empty-labels","Scope":"local","Size":"-1B","Status":"N/A"}],"BuildCache":[{"CacheType":"frontend","CreatedAt":"2024-05-20 07:00:00 +0000 UTC","CreatedSince":"2 years ago","Description":"pulled from registry.example.com/tools/dockerfile:1","ID":"z9z9z9z9z9z9z9z9z9z9z9z9z","InUse":"false","LastUsedAt":"","LastUsedSince":"","Parent":"","Shared":"true","Size":"12.5MB","UsageCount":"0"},{"CacheType":"regular","CreatedAt":"2024-06-01 10:11:12.123456789 +0000 UTC","CreatedSince":"2 years ago","Description":"mount / from exec /bin/sh -c npm ci","ID":"yb7s1v5u3k1y7c3f0t2t0l7wq","InUse":"false","LastUsedAt":"2024-06-02 08:09:10.987654321 +0000 UTC","LastUsedSince":"2 years ago","Parent":"","Shared":"false","Size":"734MB","UsageCount":"3"},{"CacheType":"source.local","CreatedAt":"2024-06-04 12:00:00 +0000 UTC","CreatedSince":"2 years ago","Description":"local source for context","ID":"k3m9x2p8q1w7e5r4t6y0u2i8o*","InUse":"true","LastUsedAt":"2024-06-04 12:00:01.5 +0000 UTC","LastUsedSince":"2 years ago","Parent":"","Shared":"false","Size":"4.1kB","UsageCount":"1"}]})fixture";

// Nothing at all in Docker.
inline const QByteArray emptyReport =
    R"fixture({"Images":[],"Containers":[],"Volumes":[],"BuildCache":[]})fixture";

// "image ls --no-trunc": one line per name; postgres and the registry image have two names each.
inline const QByteArray imageListing =
    R"fixture({"Containers":"N/A","CreatedAt":"2024-06-03 18:00:00 +0200 CEST","CreatedSince":"2 years ago","Digest":"\u003cnone\u003e","ID":"sha256:5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c","Repository":"postgres","SharedSize":"N/A","Size":"453MB","Tag":"16","UniqueSize":"N/A","VirtualSize":"453.1MB"}
{"Containers":"N/A","CreatedAt":"2024-06-03 18:00:00 +0200 CEST","CreatedSince":"2 years ago","Digest":"\u003cnone\u003e","ID":"sha256:5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c","Repository":"postgres","SharedSize":"N/A","Size":"453MB","Tag":"latest","UniqueSize":"N/A","VirtualSize":"453.1MB"}
{"Containers":"N/A","CreatedAt":"2024-03-01 11:46:40 +0100 CET","CreatedSince":"2 years ago","Digest":"\u003cnone\u003e","ID":"sha256:9c7a54a9a43cca047013b82af109fe963fde787f63f9e016fdc3384500c2823d","Repository":"node","SharedSize":"N/A","Size":"1e+03MB","Tag":"20-alpine","UniqueSize":"N/A","VirtualSize":"999.6MB"}
{"Containers":"N/A","CreatedAt":"2023-11-14 23:13:20 +0100 CET","CreatedSince":"3 years ago","Digest":"\u003cnone\u003e","ID":"sha256:0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d","Repository":"\u003cnone\u003e","SharedSize":"N/A","Size":"1.23GB","Tag":"\u003cnone\u003e","UniqueSize":"N/A","VirtualSize":"1.235GB"}
{"Containers":"N/A","CreatedAt":"2023-07-22 06:26:40 +0200 CEST","CreatedSince":"3 years ago","Digest":"\u003cnone\u003e","ID":"sha256:3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f3f","Repository":"\u003cnone\u003e","SharedSize":"N/A","Size":"0B","Tag":"\u003cnone\u003e","UniqueSize":"N/A","VirtualSize":"0B"}
{"Containers":"N/A","CreatedAt":"2024-06-04 13:20:00 +0200 CEST","CreatedSince":"2 years ago","Digest":"\u003cnone\u003e","ID":"sha256:4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a","Repository":"registry.example.com/acme/api","SharedSize":"N/A","Size":"87.7MB","Tag":"1.4.2","UniqueSize":"N/A","VirtualSize":"87.65MB"}
{"Containers":"N/A","CreatedAt":"2024-06-04 13:20:00 +0200 CEST","CreatedSince":"2 years ago","Digest":"\u003cnone\u003e","ID":"sha256:4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a","Repository":"localhost:5000/api","SharedSize":"N/A","Size":"87.7MB","Tag":"dev","UniqueSize":"N/A","VirtualSize":"87.65MB"}
)fixture";

// CLI 29 hides untagged images and drops "VirtualSize".
inline const QByteArray imageListing29 =
    R"fixture({"Containers":"N/A","CreatedAt":"2024-06-03 18:00:00 +0200 CEST","CreatedSince":"2 years ago","Digest":"\u003cnone\u003e","ID":"sha256:5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c","Repository":"postgres","SharedSize":"N/A","Size":"453MB","Tag":"16","UniqueSize":"N/A"}
{"Containers":"N/A","CreatedAt":"2024-06-03 18:00:00 +0200 CEST","CreatedSince":"2 years ago","Digest":"\u003cnone\u003e","ID":"sha256:5b0f1f4e0c8d3c3b7a8e1d9f2c4a6b8d0e2f4a6c8e0b2d4f6a8c0e2b4d6f8a0c","Repository":"postgres","SharedSize":"N/A","Size":"453MB","Tag":"latest","UniqueSize":"N/A"}
{"Containers":"N/A","CreatedAt":"2024-03-01 11:46:40 +0100 CET","CreatedSince":"2 years ago","Digest":"\u003cnone\u003e","ID":"sha256:9c7a54a9a43cca047013b82af109fe963fde787f63f9e016fdc3384500c2823d","Repository":"node","SharedSize":"N/A","Size":"1e+03MB","Tag":"20-alpine","UniqueSize":"N/A"}
{"Containers":"N/A","CreatedAt":"2024-06-04 13:20:00 +0200 CEST","CreatedSince":"2 years ago","Digest":"\u003cnone\u003e","ID":"sha256:4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a","Repository":"registry.example.com/acme/api","SharedSize":"N/A","Size":"87.7MB","Tag":"1.4.2","UniqueSize":"N/A"}
{"Containers":"N/A","CreatedAt":"2024-06-04 13:20:00 +0200 CEST","CreatedSince":"2 years ago","Digest":"\u003cnone\u003e","ID":"sha256:4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a4a","Repository":"localhost:5000/api","SharedSize":"N/A","Size":"87.7MB","Tag":"dev","UniqueSize":"N/A"}
)fixture";

// "system df": the totals per type.
inline const QByteArray totals =
    R"fixture({"Active":"2","Reclaimable":"1.397GB (75%)","Size":"1.85GB","TotalCount":"5","Type":"Images"}
{"Active":"1","Reclaimable":"1.235MB (99%)","Size":"1.235MB","TotalCount":"2","Type":"Containers"}
{"Active":"1","Reclaimable":"0B (0%)","Size":"48.21MB","TotalCount":"3","Type":"Local Volumes"}
{"Active":"1","Reclaimable":"734MB","Size":"734MB","TotalCount":"3","Type":"Build Cache"}
)fixture";

// Totals of an empty Docker.
inline const QByteArray emptyTotals =
    R"fixture({"Active":"0","Reclaimable":"0B","Size":"0B","TotalCount":"0","Type":"Images"}
{"Active":"0","Reclaimable":"0B","Size":"0B","TotalCount":"0","Type":"Containers"}
{"Active":"0","Reclaimable":"0B","Size":"0B","TotalCount":"0","Type":"Local Volumes"}
{"Active":"0","Reclaimable":"0B","Size":"0B","TotalCount":"0","Type":"Build Cache"}
)fixture";

// "builder prune -f" by the legacy builder.
inline const QByteArray pruneLegacy = R"fixture(Deleted build cache objects:
yb7s1v5u3k1y7c3f0t2t0l7wq
z9z9z9z9z9z9z9z9z9z9z9z9z

Total reclaimed space: 746.5MB
)fixture";

// The legacy builder with nothing to delete.
inline const QByteArray pruneLegacyNothing = R"fixture(Total reclaimed space: 0B
)fixture";

// buildx (built from its source): a tab-separated table and "Total:" TAB amount.
inline const QByteArray pruneBuildx =
    "ID                                      \tRECLAIMABLE\tSIZE      \tLAST ACCESSED\n"
    "yb7s1v5u3k1y7c3f0t2t0l7wq               \ttrue \t734MB     \t2 days ago\n"
    "z9z9z9z9z9z9z9z9z9z9z9z9z               \ttrue \t12.5MB*   \t\n"
    "Total:\t746.5MB\n";

inline const QByteArray daemonDown =
    "Cannot connect to the Docker daemon at unix:///var/run/docker.sock. Is the docker daemon "
    "running?\n";

} // namespace corvane::test::docker
