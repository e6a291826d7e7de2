// Line: the straight segment.
#pragma once
