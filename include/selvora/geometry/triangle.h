// Triangle: a planar facet of three vertices.
#pragma once
