// Places on the earth as metres on a plane.

const semiMajor = 6378137;
const eccentricity2 = 6.69437999014e-3;

type Vector = [number, number, number];

/** A place on the ellipsoid WGS 84, degrees, in earth-centred metres. */
function earthCentred(latitude: number, longitude: number): Vector {
  const [phi, lambda] = [(latitude * Math.PI) / 180, (longitude * Math.PI) / 180];
  const radius = semiMajor / Math.sqrt(1 - eccentricity2 * Math.sin(phi) ** 2);
  return [
    radius * Math.cos(phi) * Math.cos(lambda),
    radius * Math.cos(phi) * Math.sin(lambda),
    radius * (1 - eccentricity2) * Math.sin(phi),
  ];
}

/** A plane that touches the earth at a place: right at the poles and at the antimeridian too. */
export class LocalPlane {
  private readonly origin: Vector;
  private readonly east: Vector;
  private readonly north: Vector;

  constructor(latitude: number, longitude: number) {
    const [phi, lambda] = [(latitude * Math.PI) / 180, (longitude * Math.PI) / 180];
    this.origin = earthCentred(latitude, longitude);
    this.east = [-Math.sin(lambda), Math.cos(lambda), 0];
    this.north = [-Math.sin(phi) * Math.cos(lambda), -Math.sin(phi) * Math.sin(lambda), Math.cos(phi)];
  }

  /** East and north of the origin, in metres. */
  place(latitude: number, longitude: number): [number, number] {
    const place = earthCentred(latitude, longitude).map((value, i) => value - this.origin[i]);
    const along = (axis: Vector) => place[0] * axis[0] + place[1] * axis[1] + place[2] * axis[2];
    return [along(this.east), along(this.north)];
  }
}
