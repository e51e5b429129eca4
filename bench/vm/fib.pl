use strict;

sub fib {
    my ($n) = @_;
    return $n if $n < 2;
    return fib($n - 1) + fib($n - 2);
}

my $last = $ARGV[0] + 0;
my $total = 0;
for my $n ($last - 8 .. $last) {
    $total += fib($n);
}
print "$total\n";
