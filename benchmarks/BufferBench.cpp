#include "VelmoraCommon/frame/GMBuffer.h"
#include "benchmarks/Families.h"

#include <vector>

namespace Velmora::Benchmarks
{

void MeasureBuffers(Report & report)
{
    GMBuffer<unsigned char> source(1 << 20);
    std::vector<unsigned char> vector(1 << 20);
    report.Measure({"buffer: copy of 1 MiB",
                    1,
                    "MB",
                    [&]
                    {
                        GMBuffer<unsigned char> const copy(source);
                        Use(copy.m_data);
                    },
                    {{"std::vector",
                      [&]
                      {
                          auto const copy(vector);
                          Use(copy.data());
                      },
                      Bar::RateAtLeast(0.9)}}});
}

} // namespace Velmora::Benchmarks
