"""An outline in a table (vertex, easting, northing) as GeoJSON.   outline_to_geojson.py TABLE GEOJSON"""

import csv
import json
import sys

with open(sys.argv[1], newline="") as table:
    ring = [[float(one) for one in row[1:3]] for row in list(csv.reader(table))[1:]]
polygon = {"type": "Polygon", "coordinates": [[*ring, ring[0]]]}
with open(sys.argv[2], "w") as file:
    json.dump({"type": "FeatureCollection", "features": [{"type": "Feature", "properties": {}, "geometry": polygon}]}, file)
