// GArc and Circle: circular arcs and full circles in space.
#pragma once
