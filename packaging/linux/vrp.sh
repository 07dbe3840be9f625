#!/bin/sh
# The program takes its folder from the path by which it is started.
exec /usr/lib/varek/bin/vrp "$@"
