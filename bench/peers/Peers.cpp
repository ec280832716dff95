#include "peers/Peers.h"

namespace Bench
{

// In the order of the table's columns.
void AddPeers()
{
    AddStdPeers();
#ifdef KITIO_BENCH_BOOST
    AddBoostPeers();
#endif
#ifdef KITIO_BENCH_POCO
    AddPocoPeers();
#endif
#ifdef KITIO_BENCH_QT
    AddQtPeers();
#endif
#ifdef KITIO_BENCH_KJ
    AddKjPeers();
#endif
#ifdef KITIO_BENCH_ZMQ
    AddZeroMqPeers();
#endif
#ifdef KITIO_BENCH_NANOMSG
    AddNanomsgPeers();
#endif
    AddSocketPeers();
}

}  // namespace Bench
